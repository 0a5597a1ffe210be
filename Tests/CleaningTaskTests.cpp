#include "Tasks/OVTaskRunner.h"

#include "Support/OVFile.h"
#include "Support/OVPath.h"
#include "Tests/Fakes/FakeHome.h"
#include "Tests/TaskRunnerTestSupport.h"

namespace orvane {
namespace {

using Paths = std::vector<std::string>;
using Lines = std::vector<std::string>;

constexpr const char* kRelaunchDock = "quit application \"Dock\"";

Paths sorted(Paths paths) {
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// A runner of a user whose home folder is the test's.
struct Cleaning : ::testing::Test, test::RecordingWorld {
    Cleaning() {
        calls.userID = test::FakeHome::kUser;
        runner.setDelegate(test::unowned<OVTaskDelegate>(owner));
    }

    std::string makeFileAtHome(const std::string& path) const {
        const std::string absolute = "home/" + path;
        folder.makeFolder(absolute.substr(0, absolute.rfind('/')));
        return folder.makeFile(absolute);
    }

    /// What the operation has force-deleted, in order; every command must be such a deletion.
    Paths deletedBy(const std::function<void()>& operation) {
        Paths deleted;
        const std::size_t first = commands.runs.size();
        commands.during = [&](OVShellCommandDelegate&) {
            const std::string listFile =
                folder.at("unique-" + std::to_string(commands.runs.size())) + "/files-to-remove.txt";
            EXPECT_EQ(commands.lines().back(), "cat " + listFile + " | xargs -I __FILE__ rm -rfv '__FILE__'");
            std::string list = test::contentsOf(listFile);
            while (!list.empty()) {
                const std::size_t end = std::min(list.find('\n'), list.size());
                deleted.push_back(list.substr(0, end));
                list.erase(0, end + 1);
            }
        };
        operation();
        commands.during = nullptr;
        EXPECT_EQ(commands.runs.size(), first + 1);
        return deleted;
    }

    std::string home = folder.makeFolder("home");
    test::FakeHome fakeHome{home};
    test::RecordingDelegate owner;
    OVTaskRunner runner{services()};
};

struct CleanCaches : Cleaning {};
struct CleanBrowsers : Cleaning {};
struct CleanDesktop : Cleaning {
    CleanDesktop() { owner.archive = archive; }

    [[nodiscard]] std::string desktop() const { return home + "/Desktop"; }
    [[nodiscard]] test::RecordingCommands::Run moving(const std::string& to) const {
        return {"/usr/bin/find",
                {desktop(), "!", "-name", ".*", "!", "-name", to, "-mindepth", "1", "-maxdepth", "1", "-exec", "mv",
                 "{}", to, ";"}};
    }

    std::string archive = folder.makeFolder("archive");
};
struct CleanMail : Cleaning {};
struct RebuildLaunchServices : Cleaning {};

// Caches.

TEST_F(CleanCaches, UserCachesThenThoseOfContainers) {
    makeFileAtHome("Library/Caches/.hidden");
    makeFileAtHome("Library/Containers/com.a/Data/Library/Preferences/kept");
    makeFileAtHome("Library/Containers/com.a/Library/Caches/kept");
    makeFileAtHome("Library/Logs/kept");
    const Paths expected = {makeFileAtHome("Library/Caches/z"), home + "/Library/Caches/zz",
                            makeFileAtHome("Library/Containers/com.a/Data/Library/Caches/a b"),
                            makeFileAtHome("Library/Containers/com.b/Data/Library/Caches/c")};
    makeFileAtHome("Library/Caches/zz/inside");
    EXPECT_EQ(deletedBy([&] { EXPECT_EQ(runner.cleanUserCache(), 0); }), expected);
    EXPECT_TRUE(appleScript.sources.empty());
}

TEST_F(CleanCaches, DashboardCacheThenTheDock) {
    makeFileAtHome("Library/Caches/com.apple.dashboard/kept");
    const Paths expected = {makeFileAtHome("Library/Caches/com.apple.dashboard.client/a"),
                            makeFileAtHome("Library/Caches/com.apple.dashboard.client/b")};
    EXPECT_EQ(deletedBy([&] { EXPECT_EQ(runner.cleanDashboardCache(), 0); }), expected);
    EXPECT_EQ(events, (test::Events{"run /bin/sh", "script"}));
    EXPECT_EQ(appleScript.sources, Lines{kRelaunchDock});
}

TEST_F(CleanCaches, DockIsRelaunchedAfterAFailureToo) {
    commands.results = {1, OVShellCommandCancelled};
    EXPECT_EQ(runner.cleanDashboardCache(), 1);
    EXPECT_EQ(runner.cleanDashboardCache(), 2);
    EXPECT_EQ(appleScript.sources, (Lines{kRelaunchDock, kRelaunchDock}));
    appleScript.result = false; // and its own failure goes unnoticed
    EXPECT_EQ(runner.cleanDashboardCache(), 0);
    EXPECT_EQ(appleScript.sources.size(), 3U);
}

// Browsers.

TEST_F(CleanBrowsers, NamesAreTheApplicationsWords) {
    EXPECT_STREQ(kOVBrowserSafari, "com.apple.safari");
    EXPECT_STREQ(kOVBrowserFirefox, "org.mozilla.firefox");
    EXPECT_STREQ(kOVBrowserChrome, "com.google.chrome");
    EXPECT_STREQ(kOVBrowsersAll, "ALL_BROWSERS");
}

TEST_F(CleanBrowsers, CachesOfEachAndOfAllInOrder) {
    const Paths safari = {makeFileAtHome("Library/Caches/com.apple.Safari/Cache.db")};
    if (!test::exists(home + "/Library/Caches/com.apple.safari")) { // or case makes no difference here
        makeFileAtHome("Library/Caches/com.apple.safari/kept");
    }
    const Paths firefox = {makeFileAtHome("Library/Caches/Firefox/Profiles/x.default/cache2"),
                           makeFileAtHome("Library/Caches/Firefox/Profiles/y/a")};
    makeFileAtHome("Library/Caches/Firefox/Profiles/kept");
    const Paths chrome = {makeFileAtHome("Library/Caches/Google/Chrome/Default/Cache/data_0")};
    makeFileAtHome("Library/Caches/Google/Chrome/Default/kept");
    Paths all = safari;
    all.insert(all.end(), firefox.begin(), firefox.end());
    all.insert(all.end(), chrome.begin(), chrome.end());

    const auto cleaned = [&](std::string_view browser) {
        return deletedBy([&] { EXPECT_EQ(runner.cleanBrowserCache(browser), 0); });
    };
    EXPECT_EQ(cleaned(kOVBrowserSafari), safari);
    EXPECT_EQ(cleaned(kOVBrowserFirefox), firefox);
    EXPECT_EQ(cleaned(kOVBrowserChrome), chrome);
    EXPECT_EQ(cleaned(kOVBrowsersAll), all);
}

TEST_F(CleanBrowsers, HistoriesOfEachAndOfAllInOrder) {
    const Paths safari = {makeFileAtHome("Library/Safari/History.plist")};
    makeFileAtHome("Library/Safari/Bookmarks.plist");
    // Beneath any folder of the Library, the database and its side files.
    const Paths firefox = {makeFileAtHome("Library/Application Support/Firefox/Profiles/x/places.sqlite"),
                           makeFileAtHome("Library/Application Support/Firefox/Profiles/x/places.sqlite-wal"),
                           makeFileAtHome("Library/Elsewhere/Firefox/Profiles/y/places.sqlite")};
    makeFileAtHome("Library/Application Support/Firefox/Profiles/x/places");
    // First every history, then every "Last".
    const Paths chrome = {makeFileAtHome("Library/Application Support/Google/Chrome/Default/Archived History"),
                          makeFileAtHome("Library/Application Support/Google/Chrome/Default/History"),
                          makeFileAtHome("Library/Application Support/Google/Chrome/Default/Visited History Index"),
                          makeFileAtHome("Library/Application Support/Google/Chrome/Default/Last Session"),
                          makeFileAtHome("Library/Application Support/Google/Chrome/Default/Last Tabs")};
    makeFileAtHome("Library/Application Support/Google/Chrome/Default/Lasting");
    Paths all = safari;
    all.insert(all.end(), firefox.begin(), firefox.end());
    all.insert(all.end(), chrome.begin(), chrome.end());

    const auto cleaned = [&](std::string_view browser) {
        return deletedBy([&] { EXPECT_EQ(runner.cleanBrowserHistory(browser), 0); });
    };
    EXPECT_EQ(cleaned(kOVBrowserSafari), safari);
    EXPECT_EQ(cleaned(kOVBrowserFirefox), firefox);
    EXPECT_EQ(cleaned(kOVBrowserChrome), chrome);
    EXPECT_EQ(cleaned(kOVBrowsersAll), all);
}

TEST_F(CleanBrowsers, AnyOtherNameIsAnEmptyDeletion) {
    makeFileAtHome("Library/Caches/com.apple.Safari/Cache.db");
    makeFileAtHome("Library/Safari/History.plist");
    for (const char* const name : {"com.apple.Safari", "", "all_browsers", "com.apple.safari ", "org.example"}) {
        EXPECT_EQ(deletedBy([&] { EXPECT_EQ(runner.cleanBrowserCache(name), 0); }), Paths{}) << name;
        EXPECT_EQ(deletedBy([&] { EXPECT_EQ(runner.cleanBrowserHistory(name), 0); }), Paths{}) << name;
    }
    commands.results = {1};
    EXPECT_EQ(runner.cleanBrowserCache("com.apple.Safari"), 1); // the deletion's status, whatever it deletes
}

// The desktop.

TEST_F(CleanDesktop, MakesADatedFolderAndMovesWhatIsVisible) {
    locale.date = "2027-01-02";
    const std::string backup = archive + "/Desktop from 2027-01-02";
    commands.during = [&](OVShellCommandDelegate&) { EXPECT_TRUE(test::exists(backup)); };
    EXPECT_EQ(runner.cleanDesktop(), 0);
    ASSERT_EQ(commands.runs.size(), 1U);
    EXPECT_EQ(commands.runs[0], moving(backup));
    EXPECT_EQ(calls.madeFolders, (std::vector<std::pair<std::string, mode_t>>{{backup, 0777}}));
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(CleanDesktop, FolderFollowsTheUmask) {
    const mode_t umask = ::umask(027);
    EXPECT_EQ(runner.cleanDesktop(), 0);
    ::umask(umask);
    EXPECT_EQ(test::permissionsOf(archive + "/Desktop from 2026-11-20"), 0750U);
}

TEST_F(CleanDesktop, KeepsTheArchiveFoldersNameTestThatNeverMatches) {
    owner.archive = folder.makeFolder("home/Desktop");
    EXPECT_EQ(runner.cleanDesktop(), 0);
    ASSERT_EQ(commands.runs.size(), 1U);
    EXPECT_EQ(commands.runs[0], moving(home + "/Desktop/Desktop from 2026-11-20")); // a path, not a name
}

TEST_F(CleanDesktop, StatusIsThatOfFind) {
    commands.results = {1, OVShellCommandCancelled};
    EXPECT_EQ(runner.cleanDesktop(), 1);
    EXPECT_EQ(runner.cleanDesktop(), 2);
}

TEST_F(CleanDesktop, FoldersNameIsTranslated) {
    bundle.table["Desktop from %@"] = "Schreibtisch vom %@ (100%%)";
    EXPECT_EQ(runner.cleanDesktop(), 0);
    bundle.table["Desktop from %@"] = "Schreibtisch %d"; // of no use
    EXPECT_EQ(runner.cleanDesktop(), 0);
    EXPECT_EQ(sorted(test::namesIn(archive)), (Paths{"Desktop from 2026-11-20", "Schreibtisch vom 2026-11-20 (100%)"}));
}

TEST_F(CleanDesktop, ArchivesTildeIsExpanded) {
    owner.archive = "~no-such-user-at-all/x"; // stays as it is: there is no such folder
    EXPECT_EQ(runner.cleanDesktop(), 1);
    owner.archive = "~/orvane-no-such-folder"; // the home of the user who the other tasks work for, too
    EXPECT_EQ(runner.cleanDesktop(), 1);
    ASSERT_EQ(calls.madeFolders.size(), 2U);
    EXPECT_EQ(calls.madeFolders[0].first, "~no-such-user-at-all/x/Desktop from 2026-11-20");
    EXPECT_EQ(calls.madeFolders[1].first, home + "/orvane-no-such-folder/Desktop from 2026-11-20");
}

TEST_F(CleanDesktop, WithoutAnArchiveNothingIsDone) {
    owner.archive = std::nullopt;
    EXPECT_EQ(runner.cleanDesktop(), 2);
    owner.archive = ""; // no folder either, and not the working folder
    EXPECT_EQ(runner.cleanDesktop(), 2);
    owner.archive = archive;
    runner.setDelegate(nullptr);
    EXPECT_EQ(runner.cleanDesktop(), 2);
    EXPECT_TRUE(commands.runs.empty());
    EXPECT_TRUE(calls.madeFolders.empty());
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(CleanDesktop, FolderThatCannotBeMadeIsLoggedAndMovesNothing) {
    owner.archive = folder.at("missing");
    EXPECT_EQ(runner.cleanDesktop(), 1);
    EXPECT_FALSE(test::exists(folder.at("missing"))); // no folders on the way
    calls.fail("mkdir", EACCES);
    owner.archive = archive;
    EXPECT_EQ(runner.cleanDesktop(), 1);
    EXPECT_TRUE(commands.runs.empty());
    ASSERT_EQ(log.messages.size(), 2U);
    const std::string begin = "-[OVTaskRunner cleanDesktop] [Line ";
    const auto text = [&](std::size_t index) {
        const std::string& message = log.messages[index];
        EXPECT_TRUE(message.starts_with(begin)) << message;
        const std::size_t end = message.find_first_not_of("0123456789", begin.size());
        EXPECT_GT(end, begin.size());
        return message.substr(end);
    };
    EXPECT_EQ(text(0), "] ERROR creating backup folder " + folder.at("missing") +
                           "/Desktop from 2026-11-20: " + errorDescription(ENOENT));
    EXPECT_EQ(text(1),
              "] ERROR creating backup folder " + archive + "/Desktop from 2026-11-20: " + errorDescription(EACCES));
}

TEST_F(CleanDesktop, SomebodyQuickerIsGivenWayTo) {
    int quicker = 2;
    calls.beforeMkdir = [&](const std::string& path) {
        if (quicker-- > 0) {
            ASSERT_EQ(::mkdir(path.c_str(), 0755), 0);
        }
    };
    EXPECT_EQ(runner.cleanDesktop(), 0);
    ASSERT_EQ(commands.runs.size(), 1U);
    EXPECT_EQ(commands.runs[0], moving(archive + "/Desktop from 2026-11-20 3"));
    EXPECT_EQ(calls.madeFolders.size(), 3U);
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(CleanDesktop, FolderThatIsThereAndNotThereIsAFailure) {
    calls.fail("mkdir", EEXIST);
    EXPECT_EQ(runner.cleanDesktop(), 1);
    EXPECT_EQ(calls.madeFolders.size(), 2U) << "once more, had somebody been quicker";
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_TRUE(log.messages[0].ends_with(errorDescription(EEXIST))) << log.messages[0];
    EXPECT_TRUE(commands.runs.empty());
}

// The line commands.

TEST_F(CleanMail, Line) {
    commands.results = {0, 1};
    EXPECT_EQ(runner.vacuumAppleMailIndex(), 0);
    EXPECT_EQ(runner.vacuumAppleMailIndex(), 1);
    const std::string line = "/usr/bin/find " + home +
                             "/Library/Mail -name 'Envelope Index' -print0 | xargs -0 -I __FILE__ /usr/bin/sqlite3 "
                             "__FILE__ vacuum; /usr/bin/find " +
                             home + "/Library/Mail -name 'Envelope Index' -ls";
    EXPECT_EQ(commands.lines(), (Lines{line, line}));
}

TEST_F(CleanMail, HomeOfAnAccountThatIsHardToReadIsFound) {
    fakeHome.interruptions = 3;
    fakeHome.leastRoom = 100000;
    EXPECT_EQ(runner.homeDirectory(), home);
    EXPECT_EQ(fakeHome.interruptions, 0);
}

TEST_F(CleanMail, HomeWithABlankIsNotProtected) {
    const test::FakeHome other("/Users/a b");
    EXPECT_EQ(runner.vacuumAppleMailIndex(), 0);
    ASSERT_EQ(commands.lines().size(), 1U);
    EXPECT_TRUE(
        commands.lines()[0].starts_with("/usr/bin/find /Users/a b/Library/Mail -name 'Envelope Index' -print0"));
}

TEST_F(RebuildLaunchServices, LineThenTheFinder) {
    EXPECT_EQ(runner.rebuildLaunchServices(), 0);
    EXPECT_EQ(commands.lines(),
              Lines{"/System/Library/Frameworks/CoreServices.framework/Frameworks/LaunchServices.framework/Support/"
                    "lsregister -kill -v -f -r -all local,system,user 2>&1 | grep --line-buffered -v 'lsregister: "
                    "error -10811'"});
    EXPECT_EQ(events, (test::Events{"run /bin/sh", "script"}));
    ASSERT_EQ(appleScript.sources.size(), 1U);
    EXPECT_NE(appleScript.sources[0].find("Finder"), std::string::npos);
}

TEST_F(RebuildLaunchServices, FinderIsRelaunchedAfterAFailureToo) {
    commands.results = {1, OVShellCommandCancelled};
    EXPECT_EQ(runner.rebuildLaunchServices(), 1);
    EXPECT_EQ(runner.rebuildLaunchServices(), 2);
    appleScript.result = false; // and its own failure goes unnoticed
    EXPECT_EQ(runner.rebuildLaunchServices(), 0);
    EXPECT_EQ(appleScript.sources.size(), 3U);
}

// With real commands.

struct RealCleaning : CleanDesktop {
    RealCleaning() { realRunner.setDelegate(test::unowned<OVTaskDelegate>(owner)); }

    static OVTaskRunnerServices withRealCommands(const OVTaskRunnerServices& services) {
        return {.calls = services.calls,
                .appleScript = services.appleScript,
                .processInfo = services.processInfo,
                .bundle = services.bundle,
                .locale = services.locale};
    }

    OVTaskRunner realRunner{withRealCommands(services())};
};

TEST_F(RealCleaning, VisibleItemsOfTheDesktopMoveAndHiddenOnesStay) {
    makeFileAtHome("Desktop/a file.txt");
    makeFileAtHome("Desktop/-f");
    makeFileAtHome("Desktop/folder/.hidden inside");
    makeFileAtHome("Desktop/.hidden");
    EXPECT_EQ(realRunner.cleanDesktop(), 0);
    const std::string backup = archive + "/Desktop from 2026-11-20";
    EXPECT_EQ(sorted(test::namesIn(backup)), (Paths{"-f", "a file.txt", "folder"}));
    EXPECT_TRUE(test::exists(backup + "/folder/.hidden inside"));
    EXPECT_EQ(test::namesIn(desktop()), Paths{".hidden"});
    EXPECT_EQ(owner.output, "");
}

TEST_F(RealCleaning, EmptyDesktopGivesAnEmptyFolder) {
    makeFileAtHome("Desktop/.DS_Store");
    EXPECT_EQ(realRunner.cleanDesktop(), 0);
    EXPECT_EQ(test::namesIn(archive), Paths{"Desktop from 2026-11-20"});
    EXPECT_TRUE(test::namesIn(archive + "/Desktop from 2026-11-20").empty());
    EXPECT_EQ(test::namesIn(desktop()), Paths{".DS_Store"});
}

TEST_F(RealCleaning, TwoRunsOnOneDayMakeTwoFolders) {
    makeFileAtHome("Desktop/same name");
    EXPECT_EQ(realRunner.cleanDesktop(), 0);
    makeFileAtHome("Desktop/same name");
    EXPECT_EQ(realRunner.cleanDesktop(), 0);
    EXPECT_EQ(test::namesIn(archive + "/Desktop from 2026-11-20"), Paths{"same name"});
    EXPECT_EQ(test::namesIn(archive + "/Desktop from 2026-11-20 2"), Paths{"same name"});
    EXPECT_TRUE(test::namesIn(desktop()).empty());
}

TEST_F(RealCleaning, ArchiveOnTheDesktopCannotMoveIntoItselfAndTheRestMoves) {
    makeFileAtHome("Desktop/one");
    makeFileAtHome("Desktop/two");
    owner.archive = desktop();
    const std::string backup = desktop() + "/Desktop from 2026-11-20";
    realRunner.cleanDesktop();
    EXPECT_EQ(test::namesIn(desktop()), Paths{"Desktop from 2026-11-20"});
    EXPECT_EQ(sorted(test::namesIn(backup)), (Paths{"one", "two"}));
    EXPECT_NE(owner.output.find("mv: "), std::string::npos) << owner.output;
}

TEST_F(RealCleaning, MissingDesktopIsFindsFailure) {
    EXPECT_EQ(realRunner.cleanDesktop(), 1);
    EXPECT_NE(owner.output.find(desktop()), std::string::npos) << owner.output;
}

TEST_F(RealCleaning, WithoutAMailFolderFindComplainsAndNothingIsCompacted) {
    EXPECT_EQ(realRunner.vacuumAppleMailIndex(), 1);
    const std::string folderOfMail = home + "/Library/Mail";
    const std::size_t first = owner.output.find(folderOfMail);
    ASSERT_NE(first, std::string::npos) << owner.output;
    EXPECT_NE(owner.output.find(folderOfMail, first + 1), std::string::npos) << owner.output; // both searches
    EXPECT_EQ(owner.output.find("sqlite3"), std::string::npos) << owner.output;
}

TEST_F(RealCleaning, BrowserWithoutDataIsNoError) {
    makeFileAtHome("Library/Caches/kept");
    EXPECT_EQ(realRunner.cleanBrowserCache(kOVBrowserChrome), 0);
    EXPECT_EQ(realRunner.cleanBrowserHistory(kOVBrowserChrome), 0);
    EXPECT_EQ(owner.output, "");
    EXPECT_TRUE(test::exists(home + "/Library/Caches/kept"));
}

TEST_F(RealCleaning, CachesAreEmptiedAndTheirFoldersStay) {
    makeFileAtHome("Library/Caches/com.example.app/deep/file");
    makeFileAtHome("Library/Containers/com.a/Data/Library/Caches/file");
    makeFileAtHome("Library/Preferences/kept");
    EXPECT_EQ(realRunner.cleanUserCache(), 0);
    EXPECT_TRUE(test::namesIn(home + "/Library/Caches").empty());
    EXPECT_TRUE(test::namesIn(home + "/Library/Containers/com.a/Data/Library/Caches").empty());
    EXPECT_TRUE(test::exists(home + "/Library/Preferences/kept"));
    EXPECT_NE(owner.output.find("Library/Caches/com.example.app"), std::string::npos) << owner.output;
}

} // namespace
} // namespace orvane
