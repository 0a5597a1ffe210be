// What an application for macOS 13 and later does with Orvane.framework, in Swift. No Swift compiler has seen it yet: we
// have none. Host.m does the same in Objective-C, where every build compiles it.

import Foundation
import Orvane
import ServiceManagement

/// The tool in the application, and the daemon that has it set itself up: Contents/Library/LaunchDaemons has the plist.
let tool = Bundle.main.bundleURL.appendingPathComponent("Contents/MacOS/OrvaneTool").path
let daemon = SMAppService.daemon(plistName: "org.example.Orvane.tool.plist")

func isReady() -> Bool {
    let files = FileManager.default
    return files.isSetUIDRoot(tool) && !files.isIgnoringSetUID(atPath: tool)
}

/// The user allows the daemon once, in the system's settings; launchd then runs the tool as root with the word
/// "repairPriviliges", at once and at every start of the system.
func setUp() throws {
    if daemon.status != .enabled {
        try daemon.register()
    }
    if daemon.status == .requiresApproval {
        SMAppService.openSystemSettingsLoginItems()
    }
}

/// A task of the tool's, as root. Shows what it prints, piece by piece; blocks its caller.
func runTool(_ words: [String], show: @escaping (String) -> Void) throws -> Int32 {
    let process = Process()
    let output = Pipe()
    process.executableURL = URL(fileURLWithPath: tool)
    process.arguments = words
    process.standardOutput = output
    process.standardError = output
    try process.run()
    while case let data = output.fileHandleForReading.availableData, !data.isEmpty {
        show(String(decoding: data, as: UTF8.self))
    }
    process.waitUntilExit()
    return process.terminationStatus
}

/// Shows what a task prints in this process, and ends it when asked to.
final class Owner: NSObject, OVTaskDelegate {
    private let lock = NSLock()
    private var cancelled = false

    /// From any thread, as the button of a window would.
    func cancel() {
        lock.lock()
        cancelled = true
        lock.unlock()
    }

    func shouldCancel() -> Bool {
        lock.lock()
        defer { lock.unlock() }
        return cancelled
    }

    func hasOutputAvailable(_ output: String?) {
        DispatchQueue.main.async { print(output ?? "(bytes that are not UTF-8)", terminator: "") }
    }

    // The runner sends neither of the two; they are for an owner's own reports.
    func taskWillBegin(_ task: Any) {}
    func task(_ task: Any, completedWithStatus status: Int32) {}

    func archiveDesktopPath() -> String? { nil }
    func largeFilesSize() -> UInt64 { 100 }
    func inputPaths(withDirectoriesOnly directoriesOnly: Bool, allowsMultipleSelection: Bool) -> [String]? { nil }
}

/// A task blocks its caller, and may need the main thread in its run loop: so it gets a thread of its own.
func run(_ owner: Owner, whenDone: @escaping (OVTaskStatus) -> Void) {
    Thread.detachNewThread {
        let runner = OVTaskRunner()
        runner.delegate = owner
        let status = runner.cleanBrowserCache(.safari)
        runner.delegate = nil // its end releases nothing
        DispatchQueue.main.async { whenDone(status) }
    }
}

print("The tool is \(isReady() ? "ready" : "not set up")")
let owner = Owner()
run(owner) { status in
    print("status \(status.rawValue)")
    exit(0)
}
DispatchQueue.main.asyncAfter(deadline: .now() + 30) { owner.cancel() }
RunLoop.main.run()
