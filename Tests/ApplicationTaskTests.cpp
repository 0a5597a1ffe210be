#include "Platform/Clock.h"
#include "Tests/RecordedRunner.h"

#include <chrono>
#include <csignal>
#include <cstdint>
#include <limits>
#include <sys/time.h>
#include <sys/wait.h>

namespace orvane {
namespace {

using test::Events;
using Chunks = std::vector<std::optional<std::string>>;

/// An application that does something of the test's when it is asked to quit.
class WatchedApplication final : public RunningApplication {
  public:
    explicit WatchedApplication(std::function<void()> onTerminate) : onTerminate_(std::move(onTerminate)) {}
    std::optional<std::string> bundleIdentifier() override { return "com.example.watched"; }
    std::optional<std::string> localizedName() override { return "Watched"; }
    std::optional<std::string> bundlePath() override { return std::nullopt; }
    std::int32_t processIdentifier() override { return 4711; }
    std::int32_t activationPolicy() override { return kActivationPolicyRegular; }
    bool terminate() override {
        onTerminate_();
        return true;
    }

  private:
    std::function<void()> onTerminate_;
};

class ApplicationTasks : public test::RecordedRunner {
  protected:
    std::shared_ptr<test::FakeRunningApplication> add(const std::string& name, std::optional<std::string> identifier,
                                                      std::int32_t policy = kActivationPolicyRegular) {
        auto application = std::make_shared<test::FakeRunningApplication>(events, name, std::move(identifier));
        application->processID = 4711;
        application->policy = policy;
        workspace.running.push_back(application);
        return application;
    }
    void addOwnAndFinder() {
        add("Host", "com.example.host");
        add("Finder", "com.apple.finder");
    }
};

using ForegroundApplications = ApplicationTasks;
using QuitAllApplications = ApplicationTasks;
using ForceQuitApplication = ApplicationTasks;
using RelaunchApplication = ApplicationTasks;
using Relaunches = ApplicationTasks;
using RestartAirport = ApplicationTasks;
using TurnOnScreensaver = ApplicationTasks;
using RestartOrShutdown = ApplicationTasks;
using ApplicationsWithoutDesktop = ApplicationTasks;

TEST_F(ForegroundApplications, AreThoseOfTheRegularPolicyInTheWorkspacesOrder) {
    const auto first = add("Zebra", "com.example.z");
    add("Menu", "com.example.menu", kActivationPolicyAccessory);
    const auto second = add("Finder", "com.apple.finder");
    add("Daemon", "com.example.daemon", kActivationPolicyProhibited);
    add("Later", "com.example.later", 3);
    const auto third = add("Aardvark", std::nullopt);
    const std::vector<std::shared_ptr<RunningApplication>> expected = {first, second, third};
    EXPECT_EQ(runner.runningForegroundApplications(), expected);
    EXPECT_EQ(events, Events());
}

TEST_F(QuitAllApplications, TellsTheOwnerOfEachAndAsksItOnce) {
    addOwnAndFinder();
    add("Mail", "com.apple.mail");
    add("Menu", "com.example.menu", kActivationPolicyAccessory);
    add("Chess", "com.apple.chess");
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(owner.chunks, (Chunks{"Will try to terminate Mail", "Will try to terminate Chess"}));
    EXPECT_EQ(events, (Events{"terminate Mail", "terminate Chess"})) << "no waiting, no signal, nothing run";
    EXPECT_EQ(log.messages, Events());
    EXPECT_EQ(owner.cancelQuestions, 0);
}

TEST_F(QuitAllApplications, SparesTheFinderAndItsOwnApplicationWithoutAWord) {
    addOwnAndFinder();
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(owner.chunks, Chunks());
    EXPECT_EQ(events, Events());
}

TEST_F(QuitAllApplications, ComparesIdentifiersExactly) {
    add("Other Finder", "com.apple.Finder");
    add("Helper", "com.example.host.helper");
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(events, (Events{"terminate Other Finder", "terminate Helper"}));
}

TEST_F(QuitAllApplications, TellsAndLogsARefusalAndGoesOn) {
    add("Mail", "com.apple.mail")->terminates = false;
    add("Chess", "com.apple.chess");
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(owner.chunks,
              (Chunks{"Will try to terminate Mail", "Could not terminate Mail", "Will try to terminate Chess"}));
    EXPECT_EQ(events, (Events{"terminate Mail", "terminate Chess"})) << "no second try";
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_EQ(log.messages[0].find("-[OVTaskRunner quitAllApplications] [Line "), 0U) << log.messages[0];
    EXPECT_NE(log.messages[0].find("] could not terminate Mail"), std::string::npos) << log.messages[0];
}

TEST_F(QuitAllApplications, TellsTheOwnerBeforeItAsks) {
    std::size_t told = 0;
    workspace.running.push_back(std::make_shared<WatchedApplication>([&] { told = owner.chunks.size(); }));
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(told, 1U);
}

TEST_F(QuitAllApplications, SparesNobodyWithoutAnIdentifierOfItsOwn) {
    bundle.identifier = std::nullopt;
    addOwnAndFinder();
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(owner.chunks, (Chunks{"Will try to terminate Host", "Will try to terminate Finder"}));
    EXPECT_EQ(events, (Events{"terminate Host", "terminate Finder"}));
}

TEST_F(QuitAllApplications, AsksForItsOwnIdentifierAnewForEachApplication) {
    workspace.running.push_back(std::make_shared<WatchedApplication>([&] { bundle.identifier = "com.example.new"; }));
    add("Old", "com.example.host");
    add("New", "com.example.new");
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(events, (Events{"terminate Old"}));
}

TEST_F(QuitAllApplications, AsksAnApplicationWithoutIdentifierToo) {
    add("Nameless", std::nullopt);
    EXPECT_EQ(runner.quitAllApplications(), 0);
    bundle.identifier = std::nullopt;
    EXPECT_EQ(runner.quitAllApplications(), 0) << "nothing is not in an empty list";
    EXPECT_EQ(events, (Events{"terminate Nameless", "terminate Nameless"}));
}

TEST_F(QuitAllApplications, ShowsAMissingNameAsNull) {
    const auto application = add("", "com.example.quiet");
    application->name = std::nullopt;
    application->terminates = false;
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(owner.chunks, (Chunks{"Will try to terminate (null)", "Could not terminate (null)"}));
}

TEST_F(QuitAllApplications, NeedsNoOwner) {
    runner.setDelegate(nullptr);
    add("Mail", "com.apple.mail")->terminates = false;
    EXPECT_EQ(runner.quitAllApplications(), 0);
    EXPECT_EQ(events, (Events{"terminate Mail"}));
    EXPECT_EQ(log.messages.size(), 1U);
}

TEST_F(ForceQuitApplication, SendsTheSignalThatCannotBeCaught) {
    EXPECT_EQ(runner.forceQuitApplication(add("Mail", "com.apple.mail")), 0);
    EXPECT_EQ(events, (Events{"kill 4711 with 9"}));
    EXPECT_EQ(owner.chunks, Chunks());
}

TEST_F(ForceQuitApplication, FailsWhenTheSignalDoes) {
    signalResult = -1;
    EXPECT_EQ(runner.forceQuitApplication(add("Mail", "com.apple.mail")), 1);
    EXPECT_EQ(events, (Events{"kill 4711 with 9"}));
    EXPECT_EQ(log.messages, Events());
}

TEST_F(ForceQuitApplication, SignalsNothingWithoutAProcess) {
    const auto application = add("Ended", "com.example.ended");
    for (const std::int32_t processID : {-1, 0, -4711, std::numeric_limits<std::int32_t>::min()}) {
        application->processID = processID;
        EXPECT_EQ(runner.forceQuitApplication(application), 1) << processID;
    }
    EXPECT_EQ(runner.forceQuitApplication(nullptr), 1);
    EXPECT_EQ(events, Events());
}

TEST_F(ForceQuitApplication, EndsARealProcessAndFailsOnceItHasEnded) {
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        for (;;) {
            ::pause();
        }
    }
    calls.sendSignal = nullptr;
    const auto application = add("Real", "com.example.real");
    application->processID = child;
    EXPECT_EQ(runner.forceQuitApplication(application), 0);
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    EXPECT_EQ(runner.forceQuitApplication(application), 1);
}

TEST_F(RelaunchApplication, EndsItWaitsASecondAndLaunchesItsBundle) {
    EXPECT_EQ(runner.relaunchApplication(add("Some", "com.example.some")), 0);
    EXPECT_EQ(events, (Events{"kill 4711 with 9", "sleep 1", "launch /Applications/Some.app"}));
}

TEST_F(RelaunchApplication, FailsWhenTheLaunchDoes) {
    workspace.launches = false;
    EXPECT_EQ(runner.relaunchApplication(add("Some", "com.example.some")), 1);
}

TEST_F(RelaunchApplication, LaunchesWhatCouldNotBeEnded) {
    const auto application = add("Some", "com.example.some");
    signalResult = -1;
    EXPECT_EQ(runner.relaunchApplication(application), 0);
    application->processID = -1;
    EXPECT_EQ(runner.relaunchApplication(application), 0);
    EXPECT_EQ(events, (Events{"kill 4711 with 9", "sleep 1", "launch /Applications/Some.app", "sleep 1",
                              "launch /Applications/Some.app"}));
}

TEST_F(RelaunchApplication, FailsWithoutABundleToLaunch) {
    const auto application = add("Bare", std::nullopt);
    application->path = std::nullopt;
    EXPECT_EQ(runner.relaunchApplication(application), 1);
    EXPECT_EQ(events, (Events{"kill 4711 with 9", "sleep 1"}));
    events.clear();
    EXPECT_EQ(runner.relaunchApplication(nullptr), 1);
    EXPECT_EQ(events, (Events{"sleep 1"}));
}

TEST_F(Relaunches, TheFinderAndTheDockByScript) {
    EXPECT_EQ(runner.relaunchFinder(), 0);
    EXPECT_EQ(runner.relaunchDock(), 0);
    EXPECT_EQ(appleScript.sources, (Events{"quit application \"Finder\"\ndelay 2\nactivate application \"Finder\"",
                                           "quit application \"Dock\""}));
    EXPECT_EQ(events, (Events{"script", "script"}));
    appleScript.result = false;
    EXPECT_EQ(runner.relaunchFinder(), 1);
    EXPECT_EQ(runner.relaunchDock(), 1);
    EXPECT_EQ(owner.chunks, Chunks());
}

TEST_F(Relaunches, TheMenuBarExtrasByAHangUp) {
    commands.results = {OVShellCommandSuccess, 1, OVShellCommandCancelled};
    EXPECT_EQ(runner.relaunchSystemMenu(), 0);
    EXPECT_EQ(runner.relaunchSystemMenu(), 1);
    EXPECT_EQ(runner.relaunchSystemMenu(), 2);
    ASSERT_EQ(commands.runs.size(), 3U);
    EXPECT_EQ(commands.runs[0], (test::RecordingCommands::Run{"/usr/bin/killall", {"-SIGHUP", "SystemUIServer"}}));
}

std::string airportLine(const std::string& port, const std::string& state) {
    return "wireless_interface=`/usr/sbin/networksetup -listnetworkserviceorder | grep 'Hardware Port: " + port +
           "' | sed -e 's/.*Device: \\(.*\\)).*/\\1/'`; /usr/sbin/networksetup -setairportpower "
           "${wireless_interface} " +
           state;
}

TEST_F(RestartAirport, SwitchesOffWaitsAndSwitchesOn) {
    EXPECT_EQ(runner.restartAirport(), 0);
    EXPECT_EQ(commands.lines(), (Events{airportLine("Wi-Fi", "off"), airportLine("Wi-Fi", "on")}));
    EXPECT_EQ(events, (Events{"run /bin/sh", "sleep 1.5", "run /bin/sh"}));
}

TEST_F(RestartAirport, NamesThePortAsTheSystemsVersionDoes) {
    const auto portOf = [this](double version) {
        workspace.appKitVersion = version;
        commands.runs.clear();
        EXPECT_EQ(runner.restartAirport(), 0);
        const auto lines = commands.lines();
        EXPECT_EQ(lines.size(), 2U);
        if (lines == Events{airportLine("AirPort", "off"), airportLine("AirPort", "on")}) {
            return "AirPort";
        }
        return lines == Events{airportLine("Wi-Fi", "off"), airportLine("Wi-Fi", "on")} ? "Wi-Fi" : "neither";
    };
    for (const double version : {949.54, 1038.0, 1038.36, 1038.999}) {
        EXPECT_STREQ(portOf(version), "AirPort") << version;
    }
    for (const double version : {1039.0, 1138.0, 1561.6, std::numeric_limits<double>::infinity()}) {
        EXPECT_STREQ(portOf(version), "Wi-Fi") << version;
    }
}

TEST_F(RestartAirport, ReturnsTheStatusOfSwitchingOnAlone) {
    commands.results = {1, OVShellCommandSuccess};
    EXPECT_EQ(runner.restartAirport(), 0);
    commands.results = {OVShellCommandCancelled, 7};
    EXPECT_EQ(runner.restartAirport(), 1);
    commands.results = {OVShellCommandSuccess, OVShellCommandCancelled};
    EXPECT_EQ(runner.restartAirport(), 2);
}

/// Has /bin/sh run the recorded lines with a program of the test in the place of networksetup.
class AirportLines : public ApplicationTasks {
  protected:
    /// What the program was asked to switch, after a listing of the services.
    std::string switched(const std::string& listing) {
        const std::string record = folder.at("record");
        const std::string program =
            folder.makeFile("networksetup", "#!/bin/sh\n"
                                            "if [ \"$1\" = -listnetworkserviceorder ]; then\n"
                                            "cat '" +
                                                folder.makeFile("listing", listing) + "'\nelse echo \"$*\" >> '" +
                                                record + "'; [ $# = 3 ]; fi\n");
        EXPECT_EQ(::chmod(program.c_str(), 0755), 0);
        EXPECT_EQ(runner.restartAirport(), 0);
        for (std::string line : commands.lines()) {
            const std::string real = "/usr/sbin/networksetup";
            for (std::size_t found = 0; (found = line.find(real)) != std::string::npos;) {
                line.replace(found, real.size(), program);
            }
            const int status = std::system(line.c_str());
            statuses.push_back(WEXITSTATUS(status)); // which may take its word's address
        }
        return test::contentsOf(record);
    }

    std::vector<int> statuses;
};

constexpr const char* kServices = "An asterisk (*) denotes that a network service is disabled.\n"
                                  "(1) Ethernet\n"
                                  "(Hardware Port: Ethernet, Device: en0)\n"
                                  "\n"
                                  "(2) Wi-Fi\n"
                                  "(Hardware Port: Wi-Fi, Device: en1)\n";

TEST_F(AirportLines, SwitchTheDeviceOfThePort) {
    EXPECT_EQ(switched(kServices), "-setairportpower en1 off\n-setairportpower en1 on\n");
    EXPECT_EQ(statuses, (std::vector<int>{0, 0}));
}

TEST_F(AirportLines, RunWithoutADeviceWhereThereIsNoSuchPort) {
    workspace.appKitVersion = 1038.36;
    EXPECT_EQ(switched(kServices), "-setairportpower off\n-setairportpower on\n");
    EXPECT_EQ(statuses, (std::vector<int>{1, 1})) << "the last command's";
}

TEST_F(TurnOnScreensaver, LaunchesItWithTheDefaultOptions) {
    EXPECT_EQ(runner.turnOnScreensaver(), 1) << "nothing was launched";
    workspace.launched = add("ScreenSaverEngine", "com.apple.ScreenSaver.Engine");
    EXPECT_EQ(runner.turnOnScreensaver(), 0);
    const std::string launch = "launch URL /System/Library/Frameworks/ScreenSaver.framework/Versions/A/Resources/"
                               "ScreenSaverEngine.app with options 196608";
    EXPECT_EQ(events, (Events{launch, launch}));
}

std::chrono::duration<double> timeOf(const std::function<void()>& action) {
    const auto start = std::chrono::steady_clock::now();
    action();
    return std::chrono::steady_clock::now() - start;
}

TEST(PlatformClock, SleepsAsLongAsAsked) {
    for (const double seconds : {0.05, 1.05}) {
        EXPECT_GE(timeOf([&] { Clock::platform().sleep(seconds); }).count(), seconds);
    }
}

volatile std::sig_atomic_t alarms = 0;

void setAlarm(suseconds_t microseconds) {
    const timeval often = {.tv_sec = 0, .tv_usec = microseconds};
    const itimerval timer = {.it_interval = often, .it_value = often};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

TEST(PlatformClock, SleepsOnAfterASignal) {
    struct sigaction counting = {};
    struct sigaction before = {};
    counting.sa_handler = [](int) {
        alarms = alarms + 1;
        if (alarms == 50) {
            setAlarm(0);
        }
    };
    ASSERT_EQ(::sigaction(SIGALRM, &counting, &before), 0);
    setAlarm(100000);
    const double seconds = 0.45;
    const std::chrono::duration<double> slept = timeOf([&] { Clock::platform().sleep(seconds); });
    setAlarm(0);
    ::sigaction(SIGALRM, &before, nullptr);
    EXPECT_GT(alarms, 0);
    EXPECT_GE(slept.count(), seconds);
    EXPECT_LT(slept.count(), 5) << "one that began anew after each signal would go on until they end";
}

constexpr const char* kTitle = "The task requires that you restart your computer.";
constexpr const char* kMessage = "It is strongly recommended that you restart your computer to avoid problems with "
                                 "your system. Click Restart to complete the task and restart.";

TEST_F(RestartOrShutdown, AsksInEnglishWithoutATable) {
    static_cast<void>(runner.restartOrShutdown());
    ASSERT_EQ(alertPanel.shown.size(), 1U);
    EXPECT_EQ(alertPanel.shown[0].title, kTitle);
    EXPECT_EQ(alertPanel.shown[0].message, kMessage);
    EXPECT_EQ(alertPanel.shown[0].defaultButton, "Restart");
    EXPECT_EQ(alertPanel.shown[0].alternateButton, "Cancel");
    EXPECT_EQ(alertPanel.shown[0].otherButton, "Shut Down");
}

TEST_F(RestartOrShutdown, TakesEveryTextFromTheTable) {
    bundle.table = {{kTitle, "Neustart nötig"},
                    {kMessage, "100 % empfohlen"},
                    {"Restart", "Neustart"},
                    {"Cancel", "Abbrechen"},
                    {"Shut Down", "Ausschalten"}};
    static_cast<void>(runner.restartOrShutdown());
    ASSERT_EQ(alertPanel.shown.size(), 1U);
    EXPECT_EQ(alertPanel.shown[0].title, "Neustart nötig");
    EXPECT_EQ(alertPanel.shown[0].message, "100 % empfohlen");
    EXPECT_EQ(alertPanel.shown[0].defaultButton, "Neustart");
    EXPECT_EQ(alertPanel.shown[0].alternateButton, "Abbrechen");
    EXPECT_EQ(alertPanel.shown[0].otherButton, "Ausschalten");
}

TEST_F(RestartOrShutdown, DoesWhatTheAnswerSays) {
    alertPanel.answer = 1;
    EXPECT_EQ(runner.restartOrShutdown(), 0);
    alertPanel.answer = -1;
    EXPECT_EQ(runner.restartOrShutdown(), 0);
    EXPECT_EQ(appleScript.sources, (Events{"tell application \"System Events\" to restart",
                                           "tell application \"System Events\" to shut down"}));
    EXPECT_EQ(events, (Events{"alert", "script", "alert", "script"}));
}

TEST_F(RestartOrShutdown, ReturnsTheStatusOfWhatItDid) {
    appleScript.result = false;
    for (const std::int32_t answer : {1, -1}) {
        alertPanel.answer = answer;
        EXPECT_EQ(runner.restartOrShutdown(), 1) << answer;
    }
}

TEST_F(RestartOrShutdown, AnyOtherAnswerIsACancel) {
    for (const std::int32_t answer : {0, 2, -2, 1000, -1000}) {
        alertPanel.answer = answer;
        events.clear();
        EXPECT_EQ(runner.restartOrShutdown(), 2) << answer;
        EXPECT_EQ(events, (Events{"alert"})) << answer;
    }
}

TEST_F(RestartOrShutdown, CanBeDoneWithoutAsking) {
    EXPECT_EQ(runner.restart(), 0);
    EXPECT_EQ(runner.shutdown(), 0);
    EXPECT_EQ(appleScript.sources, (Events{"tell application \"System Events\" to restart",
                                           "tell application \"System Events\" to shut down"}));
    appleScript.result = false;
    EXPECT_EQ(runner.restart(), 1);
    EXPECT_EQ(runner.shutdown(), 1);
    EXPECT_EQ(events, (Events{"script", "script", "script", "script"}));
}

TEST_F(ApplicationsWithoutDesktop, NothingRunsAndNothingIsLaunched) {
    OVTaskRunnerServices services = headlessServices();
    services.clock = &clock;
    OVTaskRunner headless(services);
    headless.setDelegate(test::unowned<OVTaskDelegate>(owner));
    EXPECT_TRUE(headless.runningForegroundApplications().empty());
    EXPECT_EQ(headless.quitAllApplications(), 0);
    EXPECT_EQ(headless.turnOnScreensaver(), 1);
    EXPECT_EQ(headless.restartOrShutdown(), 2);
    EXPECT_EQ(headless.restartAirport(), 0);
    EXPECT_EQ(commands.lines(), (Events{airportLine("Wi-Fi", "off"), airportLine("Wi-Fi", "on")})) << "newer than all";
    EXPECT_EQ(owner.chunks, Chunks());
    EXPECT_EQ(appleScript.sources, Events());
}

} // namespace
} // namespace orvane
