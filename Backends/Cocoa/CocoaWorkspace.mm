#include "Backends/Cocoa/CocoaWorkspace.h"

#pragma clang diagnostic ignored "-Wdeprecated-declarations" // what replaces them is newer than the oldest system

namespace orvane {

namespace {

using namespace cocoa;

class CocoaWorkspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override {
        using Applications = std::vector<std::shared_ptr<RunningApplication>>;
        return guardedOnMainThread(Applications(), [] {
            Applications applications;
            for (NSRunningApplication* application in [[NSWorkspace sharedWorkspace] runningApplications]) {
                applications.push_back(std::make_shared<CocoaRunningApplication>(application));
            }
            return applications;
        });
    }

    bool launchApplication(const std::string& path) override {
        return guardedOnMainThread(
            false, [&] { return [[NSWorkspace sharedWorkspace] launchApplication:stringOfPath(path)] != NO; });
    }

    std::shared_ptr<RunningApplication> launchApplicationAtURL(const std::string& path,
                                                               std::uint32_t options) override {
        return guardedOnMainThread(std::shared_ptr<RunningApplication>(), [&]() -> std::shared_ptr<RunningApplication> {
            NSRunningApplication* application =
                [[NSWorkspace sharedWorkspace] launchApplicationAtURL:[NSURL fileURLWithPath:stringOfPath(path)]
                                                              options:static_cast<NSWorkspaceLaunchOptions>(options)
                                                        configuration:[NSDictionary dictionary]
                                                                error:nullptr];
            return application != nil ? std::make_shared<CocoaRunningApplication>(application) : nullptr;
        });
    }

    bool openFile(const std::string& path, const std::string& withApplication) override {
        return guardedOnMainThread(false, [&] {
            return [[NSWorkspace sharedWorkspace] openFile:stringOfPath(path)
                                           withApplication:stringOf(withApplication)] != NO;
        });
    }

    double appKitVersionNumber() override { return NSAppKitVersionNumber; }
};

} // namespace

Workspace& Workspace::platform() {
    static constinit CocoaWorkspace workspace;
    return workspace;
}

} // namespace orvane
