#include "Helper Tool/OrvaneTool.h"

#include "Tests/Fakes/FakeSystemCalls.h"
#include "Tests/Fakes/RecordingLog.h"

#include <csignal>
#include <gtest/gtest.h>
#include <map>

namespace orvane {
namespace {

using testing::FakeSystemCalls;
using testing::RecordingLog;
using Strings = std::vector<std::string>;

class OrvaneToolTest : public ::testing::Test {
  protected:
    std::int32_t run(const std::string& name, const Strings& arguments = {}) { return tool.runTask(name, arguments); }

    FakeSystemCalls calls;
    RecordingLog log;
    OrvaneTool tool{calls};
};

std::string framed(const std::string& line) {
    return "/bin/date; " + line + "; /bin/echo; sleep 1; /bin/date;";
}

// Written out in full, not built: a change of a single byte must be seen here.
const std::string kDaily =
    R"(line_count=0; if [ -a /var/log/daily.out ]; then line_count=`wc -l /var/log/daily.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic daily; sed -n -e ${line_count},\$p /var/log/daily.out)";
const std::string kWeekly =
    R"(line_count=0; if [ -a /var/log/weekly.out ]; then line_count=`wc -l /var/log/weekly.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic weekly; sed -n -e ${line_count},\$p /var/log/weekly.out)";
const std::string kMonthly =
    R"(line_count=0; if [ -a /var/log/monthly.out ]; then line_count=`wc -l /var/log/monthly.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic monthly; sed -n -e ${line_count},\$p /var/log/monthly.out)";

const std::map<std::string, std::string> kLines = {
    {"crondailyleo", kDaily},
    {"cronweeklyleo", kWeekly},
    {"cronmonthlyleo", kMonthly},
    {"cronallleo", kDaily + "; " + kWeekly + "; " + kMonthly},
    {"csc",
     R"(mv /Library/Caches/*pictureCache.tiff /tmp/; mv /Library/Caches/com.apple.ATS /tmp/; rm -fvR /Library/Caches/*; mv /tmp/*pictureCache.tiff /Library/Caches/; mv /tmp/com.apple.ATS /Library/Caches/)"},
    {"vpf", R"(/usr/bin/plutil /Library/Preferences/*.plist; /usr/bin/plutil ~/Library/Preferences/*.plist)"},
    {"rebuildSpotlightIndex",
     R"(sleep 5; /usr/bin/mdutil -E /; echo; echo Spotlight index has been deleted.; echo; echo In a few moments, the Spotlight menu item, located at the top right hand corner of your display, will automatically start indexing.)"},
    {"cleanArchivedLogs",
     R"(/bin/rm -fvR /var/log/*.gz; /usr/bin/find /Library/Logs -name *.log.* -exec /bin/rm -vfR {} \;)"},
    {"cleanAllLogs", R"(/usr/bin/find /Library/Logs /Users/*/Library/Logs -name *.log -exec /bin/rm -vfR {} \;)"},
    {"flushDNS", R"(echo Clearing DNS cache...; killall -HUP mDNSResponder; dscacheutil -flushcache)"},
    {"whatisDatabase", R"(/usr/libexec/makewhatis -v)"},
    {"locateDatabase",
     R"(echo Starting update...; cd /; sudo /usr/libexec/locate.updatedb; echo; echo Ending update...)"},
    {"removeTemporary", R"(rm -fv -R /var/tmp/*)"},
    {"cleanFontCaches", R"(echo Clearing font cache...; atsutil databases -remove; sleep 5)"},
};

class ShellLineTest : public OrvaneToolTest, public ::testing::WithParamInterface<std::string> {};

TEST_P(ShellLineTest, RunsExactlyItsLineBetweenTwoDatesAndReturnsTheRawWaitStatus) {
    calls.systemResult = 0x0300; // "exited with 3", neither 0 nor 1 nor 2
    EXPECT_EQ(run(GetParam()), 0x0300);
    EXPECT_EQ(calls.lines, (Strings{framed(kLines.at(GetParam()))}));
    EXPECT_TRUE(calls.calls.empty());
    EXPECT_TRUE(log.messages.empty());
}

TEST_P(ShellLineTest, IgnoresItsArguments) {
    run(GetParam(), {"first", "second"});
    EXPECT_EQ(calls.lines, (Strings{framed(kLines.at(GetParam()))}));
}

TEST_P(ShellLineTest, ReportsAFailureOfSystemAsItIs) {
    calls.systemResult = -1;
    EXPECT_EQ(run(GetParam()), -1);
}

TEST_P(ShellLineTest, MatchesItsExactNameOnly) {
    const std::string& name = GetParam();
    std::string otherCase = name;
    otherCase[0] = static_cast<char>(otherCase[0] - 'a' + 'A');
    for (const std::string& other : {name + " ", " " + name, name.substr(1), name + "x", otherCase, name + "/"}) {
        EXPECT_EQ(run(other), -1) << other;
    }
    EXPECT_TRUE(calls.lines.empty());
}

std::vector<std::string> namesOfLines() {
    std::vector<std::string> names;
    for (const auto& entry : kLines) {
        names.push_back(entry.first);
    }
    return names;
}

INSTANTIATE_TEST_SUITE_P(Rows, ShellLineTest, ::testing::ValuesIn(namesOfLines()),
                         [](const auto& row) { return row.param; });

TEST_F(OrvaneToolTest, TheTableHasItsRowsInOrder) {
    const std::vector<std::string_view> expected = {
        "repairPermissions",
        "crondailyleo",
        "cronweeklyleo",
        "cronmonthlyleo",
        "cronallleo",
        "csc",
        "cauc",
        "vpf",
        "rpf",
        "repairVolume",
        "ejectVolume",
        "rebuildSpotlightIndex",
        "cleanArchivedLogs",
        "cleanAllLogs",
        "flushDNS",
        "whatisDatabase",
        "locateDatabase",
        "removeTemporary",
        "cleanFontCaches",
        "secureEraseFreeSpace",
        "killProcess",
        "feat",
        "secureEmptyTrash",
    };
    EXPECT_EQ(OrvaneTool::taskNames(), expected);
}

TEST_F(OrvaneToolTest, TheTableSaysWhichArgumentReachesAShellAndWhichNamesReachRm) {
    Strings inShell;
    Strings byNames;
    for (const std::string_view name : OrvaneTool::taskNames()) {
        if (OrvaneTool::inputOfTask(name) == TaskInput::shellText) {
            inShell.emplace_back(name);
        }
        if (OrvaneTool::inputOfTask(name) == TaskInput::names) {
            byNames.emplace_back(name);
        }
    }
    EXPECT_EQ(inShell, (Strings{"secureEraseFreeSpace"}));
    EXPECT_EQ(byNames, (Strings{"cauc", "rpf", "feat", "secureEmptyTrash"}));
    for (const char* name : {"", "secureErasefreespace", "Feat", "nothing"}) {
        EXPECT_FALSE(OrvaneTool::inputOfTask(name)) << name;
    }
}

TEST_F(OrvaneToolTest, AnUnknownNameRunsPrintsAndLogsNothing) {
    for (const char* name : {"", "nothing", "flushdns", "FLUSHDNS", "daily", "repairPriviliges", "KillProcess 1"}) {
        EXPECT_EQ(run(name), -1) << name;
    }
    EXPECT_TRUE(calls.lines.empty());
    EXPECT_TRUE(calls.calls.empty());
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(OrvaneToolTest, KnowsTheTasksOfItsTableAndNoOther) {
    for (const std::string_view name : OrvaneTool::taskNames()) {
        EXPECT_TRUE(OrvaneTool::inputOfTask(name)) << name;
    }
    EXPECT_TRUE(OrvaneTool::inputOfTask("killProcess 4711"));
    for (const char* name : {"", "nothing", "flushdns", "csc ", "killproces"}) {
        EXPECT_FALSE(OrvaneTool::inputOfTask(name)) << name;
    }
}

TEST_F(OrvaneToolTest, TheMaintenanceLineNamesThePeriodInAllItsPlaces) {
    EXPECT_EQ(tool.maintenanceCommandForPeriod("daily"), kDaily);
    EXPECT_EQ(tool.maintenanceCommandForPeriod("weekly"), kWeekly);
    EXPECT_EQ(tool.maintenanceCommandForPeriod("monthly"), kMonthly);
}

TEST_F(OrvaneToolTest, KillProcessInterruptsTheGroupOfTheProcess) {
    calls.group = 4700;
    EXPECT_EQ(run("killProcess 4711"), 0);
    EXPECT_EQ(calls.calls, (Strings{"getpgid(4711)", "killpg(4700,2)"}));
    EXPECT_TRUE(calls.lines.empty());
}

TEST_F(OrvaneToolTest, KillProcessReturnsWhatKillpgReturns) {
    calls.group = 4700;
    calls.killpgResult = -1;
    EXPECT_EQ(run("killProcess 4711"), -1);
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(OrvaneToolTest, KillProcessReadsTheNumberAsIntValueDoes) {
    calls.group = 9;
    const std::map<std::string, std::string> readings = {
        {"killProcess 4711", "4711"},
        {"killProcess   12 34", "12"},
        {"killProcess -5", "-5"},
        {"killProcess +5x", "5"},
        {"killProcess 99999999999", "2147483647"},
        {"killProcess -99999999999", "-2147483648"},
        {"killProcess killProcess 77", "77"}, // every occurrence goes
        {"killProcess 1killProcess 2", "12"},
        {"killProcess 0", "0"},
        {"killProcess ", "0"},
        {"killProcess", "0"},
        {"killProcess4711", "0"}, // without the blank nothing is removed
        {"killProcessx 4711", "0"},
        {"killProcess\t4711", "0"},
        {"killProcess x", "0"},
    };
    for (const auto& [name, number] : readings) {
        calls.calls.clear();
        EXPECT_EQ(run(name), 0) << name;
        EXPECT_EQ(calls.calls, (Strings{"getpgid(" + number + ")", "killpg(9,2)"})) << name;
    }
}

TEST_F(OrvaneToolTest, KillProcessTakesNoNumberFromTheArguments) {
    calls.group = 9;
    run("killProcess", {"4711"});
    EXPECT_EQ(calls.calls, (Strings{"getpgid(0)", "killpg(9,2)"}));
}

TEST_F(OrvaneToolTest, KillProcessPassesAFailedGroupOnToKillpg) {
    calls.fail("getpgid", ESRCH);
    calls.killpgResult = -1;
    EXPECT_EQ(run("killProcess 4711"), -1);
    EXPECT_EQ(calls.calls, (Strings{"getpgid(4711)", "killpg(-1,2)"}));
    EXPECT_TRUE(log.messages.empty()) << "the comparison is with 3, not with a failure";
}

TEST_F(OrvaneToolTest, KillProcessRefusesGroupThreeWithAMessageAndSignalsNothing) {
    calls.group = 3;
    EXPECT_EQ(run("killProcess 4711"), 1);
    EXPECT_EQ(calls.calls, (Strings{"getpgid(4711)"}));
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_TRUE(::testing::internal::RE::FullMatch(
        log.messages[0], "-\\[OrvaneTool runTask:arguments:\\] \\[Line [1-9][0-9]*\\] ERROR: no process group for "
                         "process 4711"))
        << log.messages[0];
}

TEST_F(OrvaneToolTest, RunCommandFramesAnyLine) {
    calls.systemResult = 7;
    EXPECT_EQ(tool.runCommand("echo \"100%s\"; true"), 7);
    EXPECT_EQ(calls.lines, (Strings{"/bin/date; echo \"100%s\"; true; /bin/echo; sleep 1; /bin/date;"}));
}

} // namespace
} // namespace orvane
