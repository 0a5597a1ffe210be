#include "Tasks/OVTaskRunner.h"

#include "Helpers/NSFileManager+Globbing.h"
#include "Helpers/NSFileManager+TemporaryDirectory.h"
#include "Pasteboard/OVPasteboardServer.h"
#include "Support/OVFile.h"
#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskLines.h"

#include <cerrno>
#include <utility>

namespace orvane {

OVTaskRunner::OVTaskRunner(const OVTaskRunnerServices& services) : services_(services) {}

OVTaskRunner::~OVTaskRunner() = default; // releases neither property, see Unreleased

std::shared_ptr<OVPasteboardServer> OVTaskRunner::pasteboardServer() const {
    const std::lock_guard lock(properties_);
    return pasteboardServer_.value;
}

void OVTaskRunner::setPasteboardServer(std::shared_ptr<OVPasteboardServer> server) {
    // The old value goes with the parameter, outside the lock: its destructor may come back here.
    const std::lock_guard lock(properties_);
    pasteboardServer_.value.swap(server);
}

std::shared_ptr<OVTaskDelegate> OVTaskRunner::delegate() const {
    const std::lock_guard lock(properties_);
    return delegate_.value;
}

void OVTaskRunner::setDelegate(std::shared_ptr<OVTaskDelegate> delegate) {
    const std::lock_guard lock(properties_);
    delegate_.value.swap(delegate);
}

std::int32_t OVTaskRunner::runCommand(const std::string& path, const std::vector<std::string>& arguments) {
    const CommandRunner::Outcome outcome = services_.commands.runCommandAtPath(path, arguments, this);
    if (outcome.result == OVShellCommandSuccess) {
        return kTaskSuccess;
    }
    if (outcome.result == OVShellCommandCancelled) {
        return kTaskCancelled;
    }
    if (outcome.result == OVShellCommandCancelFailed) {
        OVLogMethod("-[OVTaskRunner runCommand:arguments:]", "ERROR: cancel unexpectedly failed for %s (pid: %d)",
                    path.c_str(), outcome.processID);
        return kTaskCancelled; // deliberately no failure: the owner asked for a cancel
    }
    return kTaskFailure;
}

std::int32_t OVTaskRunner::runBashCommand(const std::string& command) {
    return runCommand("/bin/sh", {"-c", command});
}

std::int32_t OVTaskRunner::runBashCommand(std::string_view command, const std::vector<std::string>& onItemsAtPaths) {
    constexpr const char* kMethod = "-[OVTaskRunner runBashCommand:onItemsAtPaths:]";
    const auto folder = TemporaryDirectory::createTemporaryDirectory(services_.calls, services_.processInfo);
    if (!folder) {
        OVLogMethod(kMethod, "Error creating temporary directory for paths file");
        return kTaskFailure;
    }
    const std::string listFile = stringByAppendingPathComponent(*folder, "files-to-remove.txt");
    // The list names files in folders that only their user may read.
    OVAtomicFile file(listFile, 0600, services_.calls);
    std::string_view separator;
    for (const std::string& path : onItemsAtPaths) {
        file.append(separator);
        file.append(path);
        separator = "\n";
    }
    if (const std::int32_t error = file.commit(); error != 0) {
        OVLogMethod(kMethod, "Error writing paths to file: %s", errorDescription(error).c_str());
        return kTaskFailure;
    }
    const std::int32_t status = runBashCommand(stringWithFormat(lines::kOnEachPath, {listFile, command}));
    if (services_.calls.unlink(listFile.c_str()) != 0) {
        OVLogMethod(kMethod, "Error removing temporary paths file: %s", errorDescription(errno).c_str());
        return kTaskFailure;
    }
    return status; // the folder deliberately stays
}

std::int32_t OVTaskRunner::runAppleScript(const std::string& source) {
    return services_.appleScript.execute(source) ? kTaskSuccess : kTaskFailure;
}

std::int32_t OVTaskRunner::runAuthorizedTask(const void* /*task*/) {
    return kTaskFailure; // deliberately
}

std::vector<std::string> OVTaskRunner::pathsByExpandingGlobs(const std::vector<std::string>& globs) {
    std::vector<std::string> paths;
    for (const std::string& pattern : globs) {
        const std::vector<std::string> matches = Globbing::arrayWithFilesMatchingPattern(pattern, "/");
        paths.insert(paths.end(), matches.begin(), matches.end());
    }
    return paths;
}

void OVTaskRunner::tellOwner(std::optional<std::string_view> text) const {
    if (const auto owner = delegate()) {
        owner->hasOutputAvailable(text);
    }
}

bool OVTaskRunner::shellCommandShouldCancel() {
    const auto owner = delegate();
    return owner != nullptr && owner->shouldCancel();
}

std::int32_t OVTaskRunner::restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard) {
    const auto server = pasteboardServer();
    return server != nullptr && server->restoreItemsFromPasteboard(pasteboard) ? kTaskSuccess : kTaskFailure;
}

std::int32_t OVTaskRunner::clearPasteboardHistory() {
    if (const auto server = pasteboardServer()) {
        server->clearHistory();
    }
    return kTaskSuccess;
}

} // namespace orvane
