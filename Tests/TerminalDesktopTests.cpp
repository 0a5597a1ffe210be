// orvane where there is a desktop: its commands for settings, applications and the clipboard, with a desktop of fakes
// in the place of the one that the library would bring.

#include "Support/OVText.h"
#include "Terminal/CommandLine.h"
#include "Terminal/Json.h"
#include "Tests/Fakes/FakePasteboard.h"
#include "Tests/Fakes/FakeServices.h"
#include "Tests/QuietChild.h"
#include "Tests/TaskRunnerTestSupport.h"
#include "Tests/TerminalTestSupport.h"

#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

namespace orvane {

namespace {

struct Desktop {
    test::Events events;
    test::FakeAlertPanel alertPanel{events};
    test::FakeAppleScript appleScript{events};
    test::FakeFileManager fileManager{events};
    test::FakePasteboardService pasteboards;
    test::FakeRunLoop runLoop;
    test::FakeUserDefaultsFactory userDefaults{events};
    test::FakeWorkspace workspace{events};
};

std::unique_ptr<Desktop> ownDesktop; ///< the test's

Desktop& desktop() {
    return *ownDesktop;
}

} // namespace

AlertPanel& AlertPanel::platform() {
    return desktop().alertPanel;
}
AppleScript& AppleScript::platform() {
    return desktop().appleScript;
}
FileManager& FileManager::platform() {
    return desktop().fileManager;
}
PasteboardService& PasteboardService::platform() {
    return desktop().pasteboards;
}
RunLoop& RunLoop::current() {
    return desktop().runLoop;
}
UserDefaultsFactory& UserDefaultsFactory::platform() {
    return desktop().userDefaults;
}
Workspace& Workspace::platform() {
    return desktop().workspace;
}

namespace terminal {
namespace {

using Strings = std::vector<std::string>;

std::shared_ptr<test::FakeRunningApplication> addApplication(const std::string& name, const std::string& identifier) {
    auto application = std::make_shared<test::FakeRunningApplication>(desktop().events, name, identifier);
    desktop().workspace.running.push_back(application);
    return application;
}

std::string storedText(const std::string& domain, const std::string& key) {
    return std::get<std::string>(desktop().userDefaults.domains.at(domain).at(key));
}

bool storedBool(const std::string& domain, const std::string& key) {
    return boolValue(desktop().userDefaults.domains.at(domain).at(key));
}

class TerminalDesktop : public TerminalTest {
  protected:
    TerminalDesktop() { ownDesktop = std::make_unique<Desktop>(); }
};

// --- settings

TEST_F(TerminalDesktop, SettingsAreListed) {
    desktop().userDefaults.domains["com.apple.dashboard"].insert_or_assign("mcx-disabled", true);
    desktop().userDefaults.domains["com.apple.screencapture"].insert_or_assign("type", std::string("tiff"));
    const Ended listed = orvane({"settings"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_NE(listed.output.find("dashboard          off    The Dashboard\n"), std::string::npos) << listed.output;
    EXPECT_NE(listed.output.find("screenshot-shadow  on "), std::string::npos) << listed.output;
    EXPECT_NE(listed.output.find("screenshot-format  tiff "), std::string::npos) << listed.output;
    const Json settings = Json::parse(orvane({"--json", "settings"}).output)["settings"];
    ASSERT_EQ(settings.size(), 5U);
    EXPECT_EQ(settings[0], (Json{{"name", "dashboard"}, {"value", false}}));
    EXPECT_EQ(settings[4], (Json{{"name", "screenshot-format"}, {"value", "tiff"}}));
}

TEST_F(TerminalDesktop, APictureIsAPNGWhereNothingIsStored) {
    EXPECT_EQ(Json::parse(orvane({"--json", "settings"}).output)["settings"][4]["value"], "png");
}

TEST_F(TerminalDesktop, ASettingIsSwitchedAndTheProgramThatShowsItRestarted) {
    const Ended off = orvane({"settings", "dashboard", "off"});
    EXPECT_EQ(off.status, 0) << off.errors;
    EXPECT_NE(off.output.find("dashboard          off"), std::string::npos) << off.output;
    EXPECT_TRUE(storedBool("com.apple.dashboard", "mcx-disabled"));
    EXPECT_EQ(desktop().appleScript.sources, Strings{"quit application \"Dock\""});
    EXPECT_EQ(orvane({"settings", "dashboard"}).status, 0); // without a value, the other one
    EXPECT_FALSE(storedBool("com.apple.dashboard", "mcx-disabled"));
}

TEST_F(TerminalDesktop, ASettingThatIsAsWantedStaysAndRestartsNothing) {
    EXPECT_EQ(orvane({"settings", "dashboard", "on"}).status, 0);
    EXPECT_FALSE(desktop().userDefaults.domains.contains("com.apple.dashboard"));
    EXPECT_EQ(desktop().appleScript.sources, Strings());
}

TEST_F(TerminalDesktop, AProgramThatCouldNotBeRestartedIsAFailure) {
    desktop().appleScript.result = false;
    EXPECT_EQ(orvane({"settings", "invisible-files", "on"}).status, 1);
    EXPECT_TRUE(storedBool("com.apple.finder", "AppleShowAllFiles"));
}

TEST_F(TerminalDesktop, TheKindOfPictureIsOneOfThoseThatThereAre) {
    orvane({"settings", "screenshot-format", "JPG"}); // whether the menu's program runs here is not what counts
    EXPECT_EQ(storedText("com.apple.screencapture", "type"), "jpg");
    const Ended wrong = orvane({"settings", "screenshot-format", "gif"});
    EXPECT_EQ(wrong.status, 64);
    EXPECT_EQ(wrong.errors, "orvane: The format is one of JPG, PNG, PDF, TIFF.\n");
    EXPECT_EQ(storedText("com.apple.screencapture", "type"), "jpg");
}

TEST_F(TerminalDesktop, WhatIsNoSettingOrNoValueIsWrongUse) {
    EXPECT_EQ(orvane({"settings", "nix"}).errors, "orvane: There is no setting nix  (`orvane settings` lists them).\n");
    EXPECT_EQ(orvane({"settings", "dashboard", "perhaps"}).status, 64);
    EXPECT_TRUE(desktop().userDefaults.domains.empty());
}

// --- applications

TEST_F(TerminalDesktop, ApplicationsAreListed) {
    addApplication("Mail", "com.apple.mail")->processID = 77;
    addApplication("Agent", "com.example.agent")->policy = kActivationPolicyAccessory;
    addApplication("", "")->name.reset();
    const Ended listed = orvane({"apps"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_NE(listed.output.find("     77  com.apple.mail  Mail\n"), std::string::npos) << listed.output;
    EXPECT_EQ(listed.output.find("Agent"), std::string::npos);
    const Json applications = Json::parse(orvane({"--json", "apps", "list"}).output)["applications"];
    ASSERT_EQ(applications.size(), 2U);
    EXPECT_EQ(applications[0], (Json{{"pid", 77}, {"name", "Mail"}, {"identifier", "com.apple.mail"}}));
    EXPECT_EQ(applications[1]["name"], "");
}

TEST_F(TerminalDesktop, AnApplicationIsAskedToQuitByNameOrIdentifier) {
    const auto mail = addApplication("Mail", "com.apple.mail");
    EXPECT_EQ(orvane({"apps", "quit", "Mail"}).status, 0);
    EXPECT_EQ(orvane({"apps", "quit", "com.apple.mail"}).status, 0);
    EXPECT_EQ(desktop().events, (test::Events{"terminate Mail", "terminate Mail"}));
    mail->terminates = false;
    const Ended refused = orvane({"--json", "apps", "quit", "Mail"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.output, R"({"schemaVersion":1,"command":"apps quit","done":false})"
                              "\n");
    const Ended none = orvane({"apps", "quit", "Nix"});
    EXPECT_EQ(none.status, 1);
    EXPECT_EQ(none.errors, "orvane: No application Nix runs in the foreground.\n");
}

TEST_F(TerminalDesktop, WithForceTheProcessIsEnded) {
    const test::QuietChild child;
    addApplication("Mail", "com.apple.mail")->processID = child.pid;
    EXPECT_EQ(orvane({"apps", "quit", "--force", "Mail"}).status, 0);
    ASSERT_EQ(desktop().events, test::Events());
    siginfo_t end = {};
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid), &end, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(end.si_status, SIGKILL);
}

TEST_F(TerminalDesktop, AllApplicationsAreAskedOnlyAfterAQuestion) {
    addApplication("Mail", "com.apple.mail");
    addApplication("Notes", "com.apple.Notes");
    const Ended unasked = orvane({"apps", "quit"});
    EXPECT_EQ(unasked.status, 64);
    EXPECT_EQ(unasked.errors, "orvane: Nothing was done: there is no terminal to ask on, and no --yes.\n");
    EXPECT_EQ(desktop().events, test::Events());
    EXPECT_EQ(orvane({"--json", "apps", "quit", "--yes"}).output,
              R"({"schemaVersion":1,"command":"apps quit","done":true})"
              "\n");
    EXPECT_EQ(desktop().events, (test::Events{"terminate Mail", "terminate Notes"}));
}

/// On a terminal of its own, where this is answered to the question. Whether orvane ended with the status, and that was
/// asked of the desktop.
bool answered(const std::string& answer, int wantedStatus, const test::Events& wantedEvents) {
    int terminal = -1;
    const pid_t child = ::forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child == 0) {
        std::array<std::string, 3> words = {"orvane", "apps", "quit"};
        std::array<char*, 3> pointers = {words[0].data(), words[1].data(), words[2].data()};
        const int status = runCommandLine(static_cast<int>(pointers.size()), pointers.data());
        ::_exit(status == wantedStatus && desktop().events == wantedEvents ? 0 : 1);
    }
    std::string shown;
    char c = 0;
    while (!shown.ends_with("[y/N] ") && ::read(terminal, &c, 1) == 1) {
        shown += c;
    }
    EXPECT_EQ(shown, "Ask all applications to quit? [y/N] ");
    EXPECT_EQ(::write(terminal, answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    ::close(terminal);
    return status == 0;
}

TEST_F(TerminalDesktop, OnlyYesQuitsAllApplications) {
    addApplication("Mail", "com.apple.mail");
    EXPECT_TRUE(answered("y\n", 0, {"terminate Mail"}));
    EXPECT_TRUE(answered("YES\n", 0, {"terminate Mail"}));
    EXPECT_TRUE(answered("n\n", 2, {}));
    EXPECT_TRUE(answered("\n", 2, {}));
    EXPECT_TRUE(answered("yess\n", 2, {}));
    EXPECT_TRUE(answered("\x03", 2, {}));
}

TEST_F(TerminalDesktop, ATaskEndsAnApplicationByItsName) {
    test::QuietChild child;
    addApplication("", "com.example.nameless")->name.reset();
    addApplication("Mail", "com.apple.mail")->processID = child.pid;
    const Ended ran = orvane({"run", "--yes=forceQuitApplication", "forceQuitApplication", "Mail"});
    ASSERT_EQ(ran.status, 0) << ran.output << ran.errors;
    ASSERT_EQ(desktop().events, test::Events());
    siginfo_t end = {};
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid), &end, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(end.si_status, SIGKILL);
    const Ended none = orvane({"run", "--yes=forceQuitApplication", "forceQuitApplication", "Nix"});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.output.find("No application Nix runs in the foreground.\nFailed.\n"), std::string::npos)
        << none.output;
    EXPECT_EQ(Json::parse(orvane({"--json", "history"}).output)["runs"][0]["outcome"], "failed");
}

TEST_F(TerminalDesktop, ANoToATasksOwnQuestionCancelsItAndWhatWouldFollow) {
    const std::string task = "restartOrShutdown";
    const Ended ended = orvane({"run", "--yes=" + task, "--yes=toggleDashboard", task, "toggleDashboard"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(desktop().alertPanel.shown.size(), 1U);
    EXPECT_EQ(ended.output.find("failed"), std::string::npos) << ended.output;
    EXPECT_NE(ended.output.find("Not begun: toggleDashboard.\nCancelled.\n"), std::string::npos) << ended.output;
    EXPECT_TRUE(desktop().userDefaults.domains.empty()) << "the task behind it was run";
    EXPECT_EQ(Json::parse(orvane({"--json", "history"}).output)["runs"][0]["outcome"], "cancelled");
    desktop().alertPanel.answer = kAlertPanelDefault;
    EXPECT_EQ(orvane({"run", "--yes=" + task, task}).status, 0);
}

TEST_F(TerminalDesktop, AnApplicationIsLaunchedAgain) {
    addApplication("Mail", "com.apple.mail")->path = "/Applications/Mail.app";
    EXPECT_EQ(orvane({"--json", "apps", "relaunch", "Mail"}).output,
              R"({"schemaVersion":1,"command":"apps relaunch","done":true})"
              "\n");
    EXPECT_EQ(desktop().events, test::Events{"launch /Applications/Mail.app"});
    desktop().workspace.launches = false;
    EXPECT_EQ(orvane({"apps", "relaunch", "Mail"}).status, 1);
}

TEST_F(TerminalDesktop, ATaskOnAnApplicationFindsItByItsName) {
    addApplication("Mail", "com.apple.mail")->path = "/Applications/Mail.app";
    const Ended ran = orvane({"run", "--yes=relaunchApplication", "relaunchApplication", "com.apple.mail"});
    EXPECT_EQ(ran.status, 0) << ran.output << ran.errors;
    EXPECT_EQ(desktop().events, test::Events{"launch /Applications/Mail.app"});
    const Ended none = orvane({"run", "--yes=relaunchApplication", "relaunchApplication", "Nix"});
    EXPECT_EQ(none.status, 1);
    EXPECT_NE(none.output.find("No application Nix runs in the foreground."), std::string::npos) << none.output;
}

TEST_F(TerminalDesktop, CompletionKnowsApplicationsFormatsAndSettings) {
    addApplication("Mail", "com.apple.mail");
    EXPECT_EQ(completionsOf({"run", "relaunchApplication", ""}), (std::vector<Candidate>{{"Mail", "com.apple.mail"}}));
    EXPECT_EQ(completionsOf({"run", "setScreenshotFormat", "P"}), (std::vector<Candidate>{{"PNG", ""}, {"PDF", ""}}));
    EXPECT_EQ(completionsOf({"settings", "dash"}), (std::vector<Candidate>{{"dashboard", ""}}));
    EXPECT_EQ(completionsOf({"settings", "dashboard", "of"}), (std::vector<Candidate>{{"off", ""}}));
    EXPECT_EQ(completionsOf({"completions", "z"}), (std::vector<Candidate>{{"zsh", ""}}));
}

// --- clipboard

class TerminalClipboardWatch : public TerminalDesktop {
  protected:
    /// The clipboard is watched in a child of its own, where these are copied one after the other, the first of them
    /// before.
    void watch(const std::vector<test::FakeContent>& copied) {
        child_ = ::fork();
        if (child_ == 0) {
            ::alarm(60); // should the test itself be killed
            std::size_t next = 0;
            auto& service = desktop().pasteboards;
            service.general->put({copied.at(next++)});
            service.during = [&](const std::string& event) {
                if (event == "general change count" && ++asked_ > 1 && next < copied.size()) {
                    service.general->put({copied.at(next++)});
                }
            };
            ::_exit(orvane({"clipboard", "watch"}).status);
        }
        for (int tenth = 0; tenth < 100 && entries().size() < copied.size(); ++tenth) {
            ::usleep(100000);
        }
    }

    static Json entries() {
        const Ended listed = orvane({"--json", "clipboard", "list"});
        return listed.status == 0 ? Json::parse(listed.output)["entries"] : Json::array();
    }

    /// How the watching ended that a Ctrl-C ends.
    int interrupt() {
        int status = 0;
        ::kill(child_, SIGINT);
        ::waitpid(child_, &status, 0);
        child_ = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    void killWatcher() {
        if (child_ > 0) {
            ::kill(child_, SIGKILL);
            ::waitpid(child_, nullptr, 0);
            child_ = 0;
        }
    }

    void TearDown() override {
        killWatcher();
        TerminalDesktop::TearDown();
    }

    std::string socketPath() const { return folder() + "/orvane/clipboard"; }

  private:
    pid_t child_ = 0;
    int asked_ = 0;
};

test::FakeContent picture() {
    return {{"public.tiff", std::make_shared<test::FakeData>("1234")}, {"public.png", nullptr}};
}

TEST_F(TerminalClipboardWatch, TheHistoryIsListedTheNewestFirst) {
    watch({test::textContent("first"), test::textContent("sec\nond"), picture()});
    const Json listed = entries();
    ASSERT_EQ(listed.size(), 3U);
    EXPECT_EQ(listed[0], (Json{{"number", 1}, {"types", {"public.tiff"}}, {"bytes", 4}, {"text", Json()}}));
    EXPECT_EQ(listed[1]["text"], "sec\nond");
    EXPECT_EQ(listed[1]["bytes"], 7);
    EXPECT_EQ(orvane({"clipboard"}).output, "  1     4 bytes  no text\n"
                                            "  2     7 bytes  sec\\x0aond\n"
                                            "  3     5 bytes  first\n");
    EXPECT_EQ(interrupt(), 0);
    EXPECT_NE(::access(socketPath().c_str(), F_OK), 0);
}

TEST_F(TerminalClipboardWatch, OnlyItsUserReachesIt) {
    watch({test::textContent("first")});
    struct stat status = {};
    ASSERT_EQ(::stat(socketPath().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    ASSERT_EQ(::stat((folder() + "/orvane").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0700U);
    EXPECT_EQ(interrupt(), 0);
}

TEST_F(TerminalClipboardWatch, AnEntryIsRestoredAndIsTheNewestThen) {
    watch({test::textContent("first"), test::textContent("second")});
    EXPECT_EQ(orvane({"--json", "clipboard", "restore", "2"}).status, 0);
    for (int tenth = 0; tenth < 100 && entries().size() < 2; ++tenth) {
        ::usleep(100000);
    }
    ASSERT_EQ(entries().size(), 2U);
    EXPECT_EQ(entries()[0]["text"], "first");
    EXPECT_EQ(entries()[1]["text"], "second");
    for (const char* const number : {"0", "3"}) {
        const Ended none = orvane({"clipboard", "restore", number});
        EXPECT_EQ(none.status, 1);
        EXPECT_EQ(none.errors, "orvane: There is no entry " + std::string(number) + " that could be restored.\n");
    }
    EXPECT_EQ(orvane({"clipboard", "restore", "4294967297"}).status, 64);
    EXPECT_EQ(entries().size(), 2U);
    EXPECT_EQ(interrupt(), 0);
}

TEST_F(TerminalClipboardWatch, TheHistoryIsCleared) {
    watch({test::textContent("first"), test::textContent("second")});
    const Ended cleared = orvane({"--json", "clipboard", "clear"});
    EXPECT_EQ(cleared.status, 0);
    EXPECT_EQ(Json::parse(cleared.output)["done"], true);
    EXPECT_EQ(entries().size(), 0U);
    EXPECT_EQ(orvane({"clipboard"}).output, "");
    EXPECT_EQ(orvane({"clipboard", "clear"}).output, "");
    EXPECT_EQ(interrupt(), 0);
}

TEST_F(TerminalClipboardWatch, ItIsWatchedOnce) {
    watch({test::textContent("first")});
    const Ended second = orvane({"clipboard", "watch"});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.errors, "orvane: The clipboard is being watched already.\n");
    EXPECT_EQ(entries().size(), 1U);
}

TEST_F(TerminalClipboardWatch, WhereNobodyWatchesThatIsSaid) {
    for (const Strings& words : {Strings{"clipboard"}, {"clipboard", "restore", "1"}, {"clipboard", "clear"}}) {
        const Ended ended = orvane(words);
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.errors, "orvane: The clipboard is not watched: `orvane clipboard watch` does that.\n");
    }
}

TEST_F(TerminalClipboardWatch, AWatcherThatWasKilledLeavesNoHindrance) {
    watch({test::textContent("first")});
    killWatcher();
    ASSERT_EQ(::access(socketPath().c_str(), F_OK), 0);
    EXPECT_EQ(orvane({"clipboard"}).status, 1);
    watch({test::textContent("other")});
    EXPECT_EQ(entries().size(), 1U);
    EXPECT_EQ(interrupt(), 0);
}

TEST_F(TerminalClipboardWatch, AFolderWhoseNameIsTooLongForASocketIsRefused) {
    ::setenv("XDG_STATE_HOME", (folder() + "/" + std::string(100, 'x')).c_str(), 1);
    for (const char* const word : {"watch", "list"}) {
        const Ended ended = orvane({"clipboard", word});
        EXPECT_EQ(ended.status, 1);
        EXPECT_EQ(ended.errors, "orvane: There is no folder for the clipboard's history.\n");
    }
}

TEST_F(TerminalClipboardWatch, WhatTakesThePlaceOfTheSocketIsTold) {
    ASSERT_EQ(::mkdir((folder() + "/orvane").c_str(), 0700), 0);
    ASSERT_EQ(::mkdir(socketPath().c_str(), 0700), 0);
    const Ended ended = orvane({"clipboard", "watch"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "orvane: The clipboard's history cannot be reached: Address already in use.\n");
}

/// In the watcher's place, somebody who answers nothing that orvane knows.
TEST_F(TerminalClipboardWatch, AnAnswerThatIsNoneIsTold) {
    ASSERT_EQ(::mkdir((folder() + "/orvane").c_str(), 0700), 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    socketPath().copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
    const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    const pid_t other = ::fork();
    if (other == 0) {
        const int client = ::accept(listener, nullptr, nullptr);
        ::_exit(::write(client, "what?\n", 6) == 6 ? 0 : 1);
    }
    ::close(listener);
    const Ended ended = orvane({"clipboard"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.errors, "orvane: The clipboard's history does not answer.\n");
    ::waitpid(other, nullptr, 0);
}

} // namespace
} // namespace terminal
} // namespace orvane
