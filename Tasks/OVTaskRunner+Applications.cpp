#include "Support/OVLog.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"

#include <cmath>
#include <csignal>

namespace orvane {

namespace {

constexpr const char* kScreenSaver =
    "/System/Library/Frameworks/ScreenSaver.framework/Versions/A/Resources/ScreenSaverEngine.app";

/// The last AppKit under which the wireless network interface was called "AirPort": that of Mac OS X 10.6.
constexpr double kLastAppKitWithAirPort = 1038.0;

std::int32_t statusOf(bool done) {
    return done ? kTaskSuccess : kTaskFailure;
}

} // namespace

std::int32_t OVTaskRunner::quitAllApplications() {
    Bundle& bundle = services_.bundle();
    for (const auto& application : runningForegroundApplications()) {
        const auto own = bundle.bundleIdentifier();
        const auto identifier = application->bundleIdentifier();
        // Deliberately nobody, not even the Finder, without an identifier of one's own.
        if (own && identifier && (*identifier == *own || *identifier == "com.apple.finder")) {
            continue;
        }
        tellOwner(stringWithFormat("Will try to terminate %@", {textOrNull(application->localizedName())}));
        if (!application->terminate()) {
            const std::string name = textOrNull(application->localizedName());
            tellOwner(stringWithFormat("Could not terminate %@", {name}));
            OVLogMethod("-[OVTaskRunner quitAllApplications]", "could not terminate %s", name.c_str());
        }
    }
    return kTaskSuccess; // deliberately, whoever refused
}

std::int32_t OVTaskRunner::forceQuitApplication(const std::shared_ptr<RunningApplication>& application) {
    const std::int32_t processID = application != nullptr ? application->processIdentifier() : 0;
    // An application that has ended answers -1, and kill(-1, SIGKILL) would end everything.
    return statusOf(processID > 0 && services_.calls.kill(processID, SIGKILL) == 0);
}

std::vector<std::shared_ptr<RunningApplication>> OVTaskRunner::runningForegroundApplications() {
    auto applications = services_.workspace().runningApplications();
    std::erase_if(applications, [](const std::shared_ptr<RunningApplication>& application) {
        return application->activationPolicy() != kActivationPolicyRegular;
    });
    return applications;
}

std::int32_t OVTaskRunner::relaunchApplication(const std::shared_ptr<RunningApplication>& application) {
    static_cast<void>(forceQuitApplication(application)); // it may have ended by itself
    services_.clock().sleep(1.0);
    const auto path = application != nullptr ? application->bundlePath() : std::nullopt;
    return statusOf(path && services_.workspace().launchApplication(*path));
}

std::int32_t OVTaskRunner::relaunchFinder() {
    return runAppleScript("quit application \"Finder\"\n"
                          "delay 2\n"
                          "activate application \"Finder\"");
}

std::int32_t OVTaskRunner::relaunchDock() {
    return runAppleScript("quit application \"Dock\"");
}

std::int32_t OVTaskRunner::relaunchSystemMenu() {
    return runCommand("/usr/bin/killall", {"-SIGHUP", "SystemUIServer"});
}

std::int32_t OVTaskRunner::restartAirport() {
    const double appKit = services_.workspace().appKitVersionNumber();
    const char* const port = kLastAppKitWithAirPort >= std::floor(appKit) ? "AirPort" : "Wi-Fi";
    const std::string line = stringWithFormat(
        R"(wireless_interface=`/usr/sbin/networksetup -listnetworkserviceorder | grep 'Hardware Port: %@' | sed -e 's/.*Device: \(.*\)).*/\1/'`; /usr/sbin/networksetup -setairportpower ${wireless_interface})",
        {port});
    static_cast<void>(runBashCommand(line + " off")); // it may be off already
    services_.clock().sleep(1.5);
    return runBashCommand(line + " on");
}

std::int32_t OVTaskRunner::turnOnScreensaver() {
    return statusOf(services_.workspace().launchApplicationAtURL(kScreenSaver, kWorkspaceLaunchDefault) != nullptr);
}

std::int32_t OVTaskRunner::restartOrShutdown() {
    Bundle& bundle = services_.bundle();
    const AlertPanelTexts texts = {
        .title = bundle.localizedString("The task requires that you restart your computer."),
        .message = bundle.localizedString("It is strongly recommended that you restart your computer to avoid problems "
                                          "with your system. Click Restart to complete the task and restart."),
        .defaultButton = bundle.localizedString("Restart"),
        .alternateButton = bundle.localizedString("Cancel"),
        .otherButton = bundle.localizedString("Shut Down"),
    };
    switch (services_.alertPanel().run(texts)) {
    case kAlertPanelDefault:
        return restart();
    case kAlertPanelOther:
        return shutdown();
    default:
        return kTaskCancelled;
    }
}

std::int32_t OVTaskRunner::restart() {
    return runAppleScript("tell application \"System Events\" to restart");
}

std::int32_t OVTaskRunner::shutdown() {
    return runAppleScript("tell application \"System Events\" to shut down");
}

} // namespace orvane
