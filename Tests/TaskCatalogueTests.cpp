// What the catalogue says of the tasks, held against those who run them.

#include "Tasks/OVTaskCatalogue.h"

#include "Helper Tool/OrvaneTool.h"
#include "Tasks/OVTaskCommands.h"
#include "Tests/Fakes/FakeHome.h"
#include "Tests/Fakes/FakeSystemCalls.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <vector>

namespace orvane {
namespace {

using Strings = std::vector<std::string>;

TEST(TaskCatalogueTest, HasTheToolsTasksFirstInTheirOrderAndEachNameOnce) {
    std::vector<std::string_view> tool;
    std::set<std::string_view> names;
    bool isLibrary = false;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        EXPECT_TRUE(names.insert(task.name).second) << task.name;
        EXPECT_FALSE(task.isToolTask && isLibrary) << task.name;
        isLibrary = !task.isToolTask;
        if (task.isToolTask) {
            tool.push_back(task.name);
        }
    }
    EXPECT_EQ(tool, OrvaneTool::taskNames());
    EXPECT_GT(names.size(), tool.size());
}

TEST(TaskCatalogueTest, FindsATaskByItsNameAlone) {
    ASSERT_NE(OVTaskNamed("feat"), nullptr);
    EXPECT_EQ(OVTaskNamed("feat")->name, "feat");
    EXPECT_EQ(OVTaskNamed("Feat"), nullptr);
    EXPECT_EQ(OVTaskNamed(""), nullptr);
}

TEST(TaskCatalogueTest, WhatIsGoneForGoodIsNoLighterThanThat) {
    for (const char* name : {"secureEmptyTrash", "secureEraseFreeSpace", "secureDeleteFiles", "restart", "shutdown",
                             "restartOrShutdown"}) {
        EXPECT_EQ(OVTaskNamed(name)->tier, OVTaskTier::forGood) << name;
    }
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        if (task.tier == OVTaskTier::reads) {
            EXPECT_TRUE(task.removals.empty()) << task.name;
        }
    }
}

TEST(TaskCatalogueTest, PatternsAreWhatPlansUnderstand) {
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        for (const OVTaskRemoval& removal : task.removals) {
            EXPECT_FALSE(removal.patterns.empty()) << task.name;
            for (const std::string_view pattern : removal.patterns) {
                EXPECT_NE(std::string_view("/~@").find(pattern.front()), std::string_view::npos) << pattern;
            }
        }
    }
}

/// The commands of a tool's task are those that the tool hands to `system`.
TEST(TaskCommandsTest, TheToolsLinesAreThoseThatRun) {
    int lines = 0;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        test::RecordingWorld world;
        testing::FakeSystemCalls calls;
        OVTaskRunnerServices services = {.calls = calls,
                                         .volumes = world.volumes,
                                         .appleScript = world.appleScript,
                                         .processInfo = world.processInfo,
                                         .commands = world.commands};
        if (task.isToolTask && task.name != "killProcess") {
            OrvaneTool(services).runTask(task.name, {"/Volumes/Data"});
            if (!calls.lines.empty()) {
                EXPECT_EQ(OVTaskCommands(task, {"/Volumes/Data"}, world.services()), calls.lines) << task.name;
                ++lines;
            }
        }
    }
    EXPECT_EQ(lines, 15);
}

class Commands : public ::testing::Test, public test::RecordingWorld {
  protected:
    Commands() { calls.userID = test::FakeHome::kUser; }

    Strings of(const std::string& name, const Strings& arguments = {}) {
        return OVTaskCommands(*OVTaskNamed(name), arguments, services());
    }

    test::FakeHome home{"/home of/it"};
};

TEST_F(Commands, OfTheRunnersOperations) {
    EXPECT_EQ(of("repairPermissions"), (Strings{"/usr/sbin/diskutil repairPermissions /"}));
    EXPECT_EQ(of("repairVolume", {"/Volumes/A b"}), (Strings{"/usr/sbin/diskutil repairVolume '/Volumes/A b'"}));
    EXPECT_EQ(of("cauc"), (Strings{"cat files-to-remove.txt | xargs -I __FILE__ rm -rfv '__FILE__'"}));
    EXPECT_EQ(of("secureEmptyTrash"),
              (Strings{"cat files-to-remove.txt | xargs -I __FILE__ /usr/bin/srm -v -f -r -m -- '__FILE__'"}));
    EXPECT_EQ(of("vacuumAppleMailIndex").size(), 1U);
    EXPECT_EQ(
        of("removeDSStoreFilesInHomeFolder"),
        (Strings{R"(/usr/bin/find "/home of/it" -name .DS_Store -type f -print0 | /usr/bin/xargs -0 /bin/rm -fv)"}));
    EXPECT_EQ(of("restartAirport").size(), 2U);
    EXPECT_EQ(of("freeMemory").size(), 1U);
    EXPECT_EQ(of("turnOnScreensaver"), Strings());
}

TEST_F(Commands, WhatIsNoProgramStandsThereAsOne) {
    EXPECT_EQ(of("relaunchDock"), (Strings{"osascript -e 'quit application \"Dock\"'"}));
    EXPECT_EQ(of("toggleDashboard"), (Strings{"defaults write com.apple.dashboard mcx-disabled -bool YES",
                                              "osascript -e 'quit application \"Dock\"'"}));
    EXPECT_EQ(of("setScreenshotFormat", {"PNG"}),
              (Strings{"defaults write com.apple.screencapture type png", "/usr/bin/killall -SIGHUP SystemUIServer"}));
    EXPECT_EQ(of("killProcess", {std::to_string(::getpid())}),
              (Strings{"kill -INT -- -" + std::to_string(::getpgrp())}));
}

TEST_F(Commands, FindingThemChangesNothing) {
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        OVTaskCommands(task, {task.argument == "PID" ? "1" : "/Volumes/Data"}, services());
        std::erase_if(events, [](const std::string& event) { // to know what is set now
            return event == "fresh defaults" || event.starts_with("read ");
        });
        EXPECT_EQ(events, test::Events()) << task.name;
        EXPECT_TRUE(commands.runs.empty()) << task.name;
        EXPECT_TRUE(test::namesIn(folder.path).empty()) << task.name;
    }
}

TEST_F(Commands, WordsAreQuotedForTheShell) {
    EXPECT_EQ(OVCommandLine("/bin/echo", {"plain", "", "it's", "a b", "$x"}),
              R"(/bin/echo plain '' 'it'\''s' 'a b' '$x')");
}

} // namespace
} // namespace orvane
