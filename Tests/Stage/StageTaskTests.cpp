// Every row of the table that is a shell line: the line that the shell is given, and what it does to the
// files.

#include "Tests/Stage/StageTest.h"

#include <csignal>
#include <ctime>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::stage {
namespace {

std::string maintenance(const std::string& period) {
    const std::string log = "/var/log/" + period + ".out";
    return "line_count=0; if [ -a " + log + " ]; then line_count=`wc -l " + log +
           " | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic " + period +
           "; sed -n -e ${line_count},\\$p " + log;
}

struct Row {
    const char* name;
    std::string line;
};

const std::vector<Row> kRows = {
    {"crondailyleo", maintenance("daily")},
    {"cronweeklyleo", maintenance("weekly")},
    {"cronmonthlyleo", maintenance("monthly")},
    {"cronallleo", maintenance("daily") + "; " + maintenance("weekly") + "; " + maintenance("monthly")},
    {"csc", "mv /Library/Caches/*pictureCache.tiff /tmp/; mv /Library/Caches/com.apple.ATS /tmp/; rm -fvR "
            "/Library/Caches/*; mv /tmp/*pictureCache.tiff /Library/Caches/; mv /tmp/com.apple.ATS "
            "/Library/Caches/"},
    {"vpf", "/usr/bin/plutil /Library/Preferences/*.plist; /usr/bin/plutil ~/Library/Preferences/*.plist"},
    {"rebuildSpotlightIndex", "sleep 5; /usr/bin/mdutil -E /; echo; echo Spotlight index has been deleted.; "
                              "echo; echo In a few moments, the "
                              "Spotlight menu item, located at the top right hand corner of your display, "
                              "will automatically start indexing."},
    {"cleanArchivedLogs",
     "/bin/rm -fvR /var/log/*.gz; /usr/bin/find /Library/Logs -name *.log.* -exec /bin/rm -vfR {} \\;"},
    {"cleanAllLogs", "/usr/bin/find /Library/Logs /Users/*/Library/Logs -name *.log -exec /bin/rm -vfR {} \\;"},
    {"flushDNS", "echo Clearing DNS cache...; killall -HUP mDNSResponder; dscacheutil -flushcache"},
    {"whatisDatabase", "/usr/libexec/makewhatis -v"},
    {"locateDatabase", "echo Starting update...; cd /; sudo /usr/libexec/locate.updatedb; echo; echo Ending update..."},
    {"removeTemporary", "rm -fv -R /var/tmp/*"},
    {"cleanFontCaches", "echo Clearing font cache...; atsutil databases -remove; sleep 5"},
};

void expectLine(uid_t user, const Row& row) {
    ::unlink("/stage/record");
    const Result result = runTool(user, {row.name, "ignored"});
    EXPECT_EQ(result.exitCode(), 0) << row.name;
    EXPECT_EQ(result.output + result.errors, "") << row.name;
    const auto all = recorded();
    ASSERT_EQ(all.size(), 1U) << row.name;
    EXPECT_EQ(all[0].words, (Strings{"sh", "-c", "/bin/date; " + row.line + "; /bin/echo; sleep 1; /bin/date;"}));
}

TEST(StageLinesTest, TheShellIsGivenExactlyTheRowsLineByRoot) {
    recordShell();
    for (const Row& row : kRows) {
        expectLine(kRoot, row);
    }
}

TEST(StageLinesTest, TheShellIsGivenExactlyTheRowsLineByAnOrdinaryUser) {
    ORVANE_NEEDS("suid");
    recordShell();
    for (const Row& row : kRows) {
        expectLine(kAnn, row);
    }
}

/// The rows' outcome, the same for both.
class StageTaskTest : public ::testing::TestWithParam<uid_t> {
  protected:
    void SetUp() override {
        if (GetParam() != kRoot) {
            ORVANE_NEEDS("suid");
        }
    }

    /// What the task printed between its dates. The outcome of the line itself is never the tool's status.
    static std::string output(const std::string& task) {
        const Result result = runTool(GetParam(), {task});
        EXPECT_EQ(result.exitCode(), 0) << result.errors;
        errors = result.errors;
        return withoutFrame(result.output);
    }

    static std::string errors; ///< standard error of the last task
};

std::string StageTaskTest::errors;

void periodicScript(const std::string& period, const std::string& name, const std::string& text) {
    makeFolder("/etc/periodic/" + period);
    for (const std::string& other : glob("/etc/periodic/" + period + "/*")) {
        ::unlink(other.c_str());
    }
    write("/etc/periodic/" + period + "/" + name, "#!/bin/sh\n" + text, kRoot, 0755);
}

TEST_P(StageTaskTest, DailyMaintenanceShowsOnlyTheNewLinesOfTheLog) {
    periodicScript("daily", "100.test", "echo the new line\n");
    write("/var/log/daily.out", "an old line\nanother old line\n");
    const std::string shown = output("crondailyleo");
    const std::string log = read("/var/log/daily.out");
    EXPECT_TRUE(log.starts_with("an old line\nanother old line\n"));
    EXPECT_EQ(shown, log.substr(std::string("an old line\nanother old line\n").size()));
    EXPECT_NE(shown.find("the new line\n"), std::string::npos) << shown;
}

TEST_P(StageTaskTest, DailyMaintenanceShowsAWholeNewLog) {
    periodicScript("daily", "100.test", "echo the new line\n");
    ::unlink("/var/log/daily.out");
    const std::string shown = output("crondailyleo");
    EXPECT_EQ(shown, read("/var/log/daily.out"));
    EXPECT_NE(shown.find("the new line\n"), std::string::npos) << shown;
}

TEST_P(StageTaskTest, WeeklyAndMonthlyMaintenanceRunTheirOwnScripts) {
    for (const std::string period : {"weekly", "monthly"}) {
        periodicScript(period, "100.test", "echo from " + period + "\n");
        write("/var/log/" + period + ".out", "old\n");
        const std::string shown = output("cron" + period + "leo");
        EXPECT_NE(shown.find("from " + period + "\n"), std::string::npos) << shown;
        EXPECT_EQ("old\n" + shown, read("/var/log/" + period + ".out"));
    }
}

TEST_P(StageTaskTest, AllMaintenanceRunsDailyWeeklyMonthlyInOneFrame) {
    for (const std::string period : {"daily", "weekly", "monthly"}) {
        periodicScript(period, "100.test", "echo from " + period + "\necho " + period + " >> /var/log/order\n");
        write("/var/log/" + period + ".out", "old " + period + "\n");
    }
    const std::string shown = output("cronallleo");
    const std::size_t daily = shown.find("from daily\n");
    const std::size_t weekly = shown.find("from weekly\n");
    const std::size_t monthly = shown.find("from monthly\n");
    ASSERT_NE(monthly, std::string::npos) << shown;
    EXPECT_LT(daily, weekly);
    EXPECT_LT(weekly, monthly);
    EXPECT_EQ(shown.find("old "), std::string::npos) << shown;
    EXPECT_EQ(read("/var/log/order"), "daily\nweekly\nmonthly\n");
}

TEST_P(StageTaskTest, SystemCachesGoButThePictureAndFontCachesStay) {
    makeFolder("/Library/Caches/com.apple.ATS");
    write("/Library/Caches/com.apple.ATS/fonts.db", "fonts");
    write("/Library/Caches/Desktop pictureCache.tiff", "picture");
    makeFolder("/Library/Caches/com.some app/deep");
    write("/Library/Caches/com.some app/deep/entry", "cached");
    makeFolder("/Users/ann/Library/Caches/com.some.app", kAnn);
    const std::string shown = output("csc");
    EXPECT_NE(shown.find("/Library/Caches/com.some app/deep/entry"), std::string::npos) << shown;
    EXPECT_FALSE(exists("/Library/Caches/com.some app"));
    EXPECT_EQ(read("/Library/Caches/com.apple.ATS/fonts.db"), "fonts");
    EXPECT_EQ(read("/Library/Caches/Desktop pictureCache.tiff"), "picture");
    for (const std::string& left : namesIn("/Library/Caches")) {
        EXPECT_TRUE(left == "com.apple.ATS" || left.ends_with("pictureCache.tiff") || left.starts_with(".")) << left;
    }
    EXPECT_TRUE(glob("/tmp/*pictureCache.tiff").empty());
    EXPECT_FALSE(exists("/tmp/com.apple.ATS"));
    EXPECT_TRUE(exists("/Users/ann/Library/Caches/com.some.app")) << "a user's caches are another task's";
}

constexpr const char* kGoodList = R"(<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0"><dict><key>size</key><integer>3</integer></dict></plist>
)";

TEST_P(StageTaskTest, PreferencesAreCheckedNotTouched) {
    // The shell's ~ is the caller's home: ann's for ann, root's for root.
    const std::string home = GetParam() == kAnn ? "/Users/ann" : "/var/root";
    makeFolder(home + "/Library/Preferences", GetParam());
    write(home + "/Library/Preferences/com.test.good.plist", kGoodList, GetParam());
    write(home + "/Library/Preferences/com.test.bad.plist", std::string(kGoodList).substr(0, 150), GetParam());
    write("/Library/Preferences/com.test.good.plist", kGoodList);
    write("/Library/Preferences/com.test.bad.plist", "rubbish {");
    const std::string shown = output("vpf") + errors;
    for (const std::string& folder : {std::string(""), home}) {
        const std::string path = folder + "/Library/Preferences/com.test.";
        EXPECT_NE(shown.find(path + "good.plist: OK"), std::string::npos) << shown;
        EXPECT_NE(shown.find(path + "bad.plist: "), std::string::npos) << shown;
        EXPECT_EQ(shown.find(path + "bad.plist: OK"), std::string::npos) << shown;
        EXPECT_TRUE(exists(path + "bad.plist"));
    }
    const std::string other = GetParam() == kAnn ? "/Users/bob" : "/Users/ann";
    EXPECT_EQ(shown.find(other), std::string::npos) << "only the caller's own preferences";
}

/// For lines that pause, where the pause is not what is tested.
void makePausesShort() {
    write("/bin/sleep", "#!/bin/sh\n", kRoot, 0755);
}

TEST_P(StageTaskTest, TheSpotlightIndexIsErased) {
    makePausesShort();
    makeFolder("/.Spotlight-V100/Store-V2/ABC");
    write("/.Spotlight-V100/Store-V2/ABC/0.indexHead", "index");
    const std::string shown = output("rebuildSpotlightIndex");
    EXPECT_FALSE(exists("/.Spotlight-V100/Store-V2/ABC/0.indexHead"));
    EXPECT_NE(shown.find("\nSpotlight index has been deleted.\n\nIn a few moments, the Spotlight menu item, located at "
                         "the top right hand corner of your display, will automatically start indexing.\n"),
              std::string::npos)
        << shown;
}

TEST_P(StageTaskTest, ArchivedLogsGoAndLiveOnesStay) {
    write("/var/log/system.log.0.gz", "old");
    write("/var/log/system.log", "live");
    makeFolder("/Library/Logs/Some App");
    write("/Library/Logs/Some App/run.log.1", "old");
    write("/Library/Logs/Some App/run.log.2.bz2", "old");
    write("/Library/Logs/Some App/run.log", "live");
    makeFolder("/Users/ann/Library/Logs", kAnn);
    write("/Users/ann/Library/Logs/mine.log.0", "old", kAnn);
    const std::string shown = output("cleanArchivedLogs");
    EXPECT_NE(shown.find("/Library/Logs/Some App/run.log.1"), std::string::npos) << shown;
    EXPECT_TRUE(glob("/var/log/*.gz").empty());
    EXPECT_FALSE(exists("/Library/Logs/Some App/run.log.1"));
    EXPECT_FALSE(exists("/Library/Logs/Some App/run.log.2.bz2"));
    EXPECT_EQ(read("/Library/Logs/Some App/run.log"), "live");
    EXPECT_TRUE(read("/var/log/system.log").starts_with("live"));
    EXPECT_TRUE(exists("/Users/ann/Library/Logs/mine.log.0")) << "users' archived logs are not this task's";
}

TEST_P(StageTaskTest, AllLogsGoOfTheSystemAndOfEveryUser) {
    makeFolder("/Library/Logs/Some App");
    write("/Library/Logs/Some App/run.log", "x");
    write("/Library/Logs/Some App/run.log.1", "archived");
    write("/Library/Logs/Some App/notes.txt", "x");
    for (const char* user : {"ann", "bob"}) {
        const std::string logs = std::string("/Users/") + user + "/Library/Logs";
        makeFolder(logs + "/DiskUtility", user[0] == 'a' ? kAnn : kBob);
        write(logs + "/DiskUtility/a b.log", "x");
    }
    write("/var/log/system.log", "x");
    const std::string shown = output("cleanAllLogs");
    EXPECT_NE(shown.find("/Users/bob/Library/Logs/DiskUtility/a b.log"), std::string::npos) << shown;
    EXPECT_FALSE(exists("/Library/Logs/Some App/run.log"));
    EXPECT_FALSE(exists("/Users/ann/Library/Logs/DiskUtility/a b.log"));
    EXPECT_FALSE(exists("/Users/bob/Library/Logs/DiskUtility/a b.log"));
    EXPECT_TRUE(exists("/Library/Logs/Some App/run.log.1"));
    EXPECT_TRUE(exists("/Library/Logs/Some App/notes.txt"));
    EXPECT_TRUE(exists("/var/log/system.log")) << "/var/log is not looked at";
}

TEST_P(StageTaskTest, TheResponderIsToldAndTheCacheFlushed) {
    ORVANE_NEEDS("pidns"); // the responder runs where nothing of the machine's own has its name
    const std::string before = read("/var/log/system.log");
    const std::string shown = output("flushDNS");
    EXPECT_TRUE(shown.starts_with("Clearing DNS cache...\n")) << shown;
    EXPECT_EQ(errors, "");
    std::string added;
    for (int tries = 0; tries < 100 && added.empty(); ++tries) {
        ::usleep(20000);
        added = read("/var/log/system.log").substr(before.size());
    }
    EXPECT_NE(added.find("mDNSResponder"), std::string::npos) << added;
}

TEST_P(StageTaskTest, TheManualsIndexIsBuilt) {
    for (const std::string& old : glob("/usr/share/man/whatis*")) {
        ::unlink(old.c_str());
    }
    output("whatisDatabase");
    const Strings made = glob("/usr/share/man/whatis*");
    ASSERT_EQ(made.size(), 1U);
    EXPECT_GT(lines(read(made[0])).size(), 1U);
    EXPECT_NE(read(made[0]).find(" - "), std::string::npos) << read(made[0]);
}

TEST_P(StageTaskTest, TheFileIndexIsBuilt) {
    ::unlink("/var/db/locate.database");
    write("/Users/Shared/needle in the hay", "x");
    const std::string shown = output("locateDatabase");
    EXPECT_TRUE(shown.starts_with("Starting update...\n")) << shown;
    EXPECT_TRUE(shown.ends_with("\n\nEnding update...\n") || shown == "Starting update...\n\nEnding update...\n")
        << shown;
    EXPECT_TRUE(exists("/var/db/locate.database"));
    Start find;
    find.user = kRoot;
    find.path = "/usr/bin/locate";
    find.words = {"needle in the hay"};
    EXPECT_EQ(run(find).output, "/Users/Shared/needle in the hay\n");
}

TEST_P(StageTaskTest, TemporaryFilesOfEverybodyGoHiddenOnesStay) {
    makeFolder("/var/tmp/folder of ann/deep", kAnn);
    write("/var/tmp/folder of ann/deep/file", "x", kAnn, 0400);
    write("/var/tmp/-rf", "x");
    write("/var/tmp/.hidden", "x");
    ASSERT_EQ(::symlink("/Users/ann/Documents", "/var/tmp/link"), 0);
    makeFolder("/Users/ann/Documents", kAnn);
    write("/Users/ann/Documents/letter", "dear", kAnn);
    write("/tmp/other", "x");
    const std::string shown = output("removeTemporary");
    EXPECT_NE(shown.find("/var/tmp/folder of ann/deep/file"), std::string::npos) << shown;
    EXPECT_EQ(namesIn("/var/tmp"), (Strings{".hidden"}));
    EXPECT_EQ(read("/Users/ann/Documents/letter"), "dear") << "a link goes, not what it leads to";
    EXPECT_TRUE(exists("/tmp/other"));
}

TEST_P(StageTaskTest, FontCachesAreRemoved) {
    makePausesShort();
    const Strings before = glob("/var/folders/*/*/*/com.apple.FontRegistry*");
    ASSERT_FALSE(before.empty()) << "the stage has font caches";
    const std::string shown = output("cleanFontCaches");
    EXPECT_TRUE(shown.starts_with("Clearing font cache...\n")) << shown;
    EXPECT_TRUE(glob("/var/folders/*/*/*/com.apple.FontRegistry*").empty());
}

INSTANTIATE_TEST_SUITE_P(As, StageTaskTest, ::testing::Values(kRoot, kAnn),
                         [](const auto& user) { return user.param == kRoot ? "Root" : "Ann"; });

TEST(StageFrameTest, TheStatusOfTheInnerLineIsNotReported) {
    ORVANE_NEEDS("suid");
    ASSERT_EQ(::unlink("/usr/libexec/makewhatis"), 0);
    const Result result = runTool(kAnn, {"whatisDatabase"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(withoutFrame(result.output), "");
    EXPECT_NE(result.errors.find("makewhatis"), std::string::npos) << result.errors;
}

TEST(StageFrameTest, TheStatusIsTheLastDatesRawWaitStatus) {
    ORVANE_NEEDS("suid");
    write("/bin/date", "#!/bin/bash\necho today\nexit 3\n", kRoot, 0755);
    const Result result = runTool(kAnn, {"removeTemporary"});
    EXPECT_EQ(result.exitCode(), 0) << "3 << 8 has no low bits";
    EXPECT_EQ(lines(result.output).front(), "today");
}

TEST(StageFrameTest, AShellThatDiesOfASignalShowsInTheLowBits) {
    ORVANE_NEEDS("suid");
    write("/bin/date", "#!/bin/bash\nkill -TERM $PPID\n", kRoot, 0755);
    EXPECT_EQ(runTool(kAnn, {"removeTemporary"}).exitCode(), SIGTERM);
}

TEST(StageFrameTest, ThereIsASecondBetweenTheEmptyLineAndTheLastDate) {
    write("/bin/sleep", "#!/bin/bash\necho \"slept $*\"\n", kRoot, 0755);
    const Strings all = lines(runTool(kRoot, {"whatisDatabase"}).output);
    ASSERT_GE(all.size(), 3U);
    EXPECT_EQ(all.at(all.size() - 2), "slept 1");
    EXPECT_EQ(all.at(all.size() - 3), "");
}

} // namespace
} // namespace orvane::stage
