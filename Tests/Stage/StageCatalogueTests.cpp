// The operations of the library that an application runs in its own process, by the example host, as an ordinary user
// unless a test says otherwise.

#include "Tests/Stage/StageTest.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <iterator>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::stage {
namespace {

constexpr const char* kExample = "/stage/bin/orvane-example";
constexpr const char* kRegister = "/System/Library/Frameworks/CoreServices.framework/Frameworks/"
                                  "LaunchServices.framework/Support/lsregister";
const std::string kHome = "/Users/ann";

Result runProgram(const std::string& path, const Strings& words, uid_t user = kRoot) {
    Start start;
    start.user = user;
    start.path = path;
    start.words = words;
    return run(start);
}

Result example(const Strings& words) {
    return runProgram(kExample, words, kAnn);
}

void script(const std::string& path, const std::string& text) {
    write(path, "#!/bin/bash\n" + text, kRoot, 0755);
}

/// Everything in the users' homes.
Strings files() {
    Strings paths = lines(runProgram("/usr/bin/find", {"/Users"}).output);
    std::sort(paths.begin(), paths.end());
    EXPECT_GT(paths.size(), 100U);
    return paths;
}

/// What of `left` is not in `right`.
Strings without(const Strings& left, const Strings& right) {
    Strings rest;
    std::set_difference(left.begin(), left.end(), right.begin(), right.end(), std::back_inserter(rest));
    return rest;
}

/// What the operation removed from the homes. Nothing may be new there.
Strings removedBy(const std::function<void()>& operation) {
    const Strings before = files();
    operation();
    const Strings after = files();
    EXPECT_EQ(without(after, before), Strings());
    return without(before, after);
}

Strings beneathHome(Strings paths) {
    for (std::string& path : paths) {
        path.insert(0, kHome + "/Library/");
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

/// The statements that osascript has noted, each with the user's name.
Strings statements() {
    Strings all = lines(read("/var/log/osascript.log"));
    for (std::string& line : all) {
        line.erase(0, line.find("]: ") + 3);
    }
    return all;
}

const Strings kFinderRelaunched = {"ann: quit application \"Finder\"", "ann: delay 2",
                                   "ann: activate application \"Finder\""};
const Strings kDockRelaunched = {"ann: quit application \"Dock\""};

/// Ten times a second until it holds; false when it does not for long.
bool eventually(const std::function<bool()>& holds) {
    for (int tries = 0; tries < 600; ++tries) {
        if (holds()) {
            return true;
        }
        ::usleep(100000);
    }
    return false;
}

/// Whether the process whose number is in the file has ended, a zombie included.
bool hasEnded(const std::string& numberFile) {
    const std::string number = lines(read(numberFile)).at(0);
    const std::string state = read("/proc/" + number + "/stat");
    return (::kill(std::stoi(number), 0) != 0 && errno == ESRCH) || state.find(") Z ") != std::string::npos;
}

// --- the example itself

TEST(StageExampleTest, ListsItsOperationsWhenNoneIsNamed) {
    const Result result = example({});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_NE(result.output.find("cleanBrowserCache BROWSER\n"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("\nobjectForKey KEY DOMAIN\n"), std::string::npos) << result.output;
    EXPECT_EQ(result.errors, "");
}

TEST(StageExampleTest, RefusesWrongUseWithTheUsageAndRunsNothing) {
    const Strings before = files();
    for (const Strings& words :
         {Strings{"noSuchOperation"}, Strings{"cleanBrowserCache"}, Strings{"cleanUserCache", "too much"},
          Strings{"--size", "many", "cleanUserCache"}, Strings{"--archive"}, Strings{"--unknown", "cleanUserCache"}}) {
        const Result result = example(words);
        EXPECT_EQ(result.exitCode(), 64) << words.at(0);
        EXPECT_EQ(result.output, "") << words.at(0);
        EXPECT_NE(result.errors.find("usage: orvane-example"), std::string::npos) << result.errors;
    }
    EXPECT_EQ(files(), before);
}

TEST(StageExampleTest, AnswersWhatIsChosenByThePathsGiven) {
    write(kHome + "/Documents/one thing", "x", kAnn);
    write(kHome + "/Documents/another", "x", kAnn);
    Start start;
    start.path = kExample;
    start.words = {"--path", "one thing", "--path", kHome + "/Documents/another", "forceDeleteFiles"};
    start.beforeExec = [] { EXPECT_EQ(::chdir((kHome + "/Documents").c_str()), 0); };
    Result result;
    EXPECT_EQ(removedBy([&] { result = run(start); }),
              (Strings{kHome + "/Documents/another", kHome + "/Documents/one thing"}));
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output, "removed '/Users/ann/Documents/one thing'\nremoved '/Users/ann/Documents/another'\n");
    for (const char* operation : {"forceDeleteFiles", "secureDeleteFiles", "removeDSStoreFilesInFolder"}) {
        EXPECT_EQ(example({operation}).exitCode(), 2) << operation;
    }
}

TEST(StageExampleTest, RemovesFilesOfTheFinderInTheHomeFolder) {
    Result result;
    EXPECT_EQ(removedBy([&] { result = example({"removeDSStoreFilesInHomeFolder"}); }),
              (Strings{kHome + "/.DS_Store", kHome + "/.Trash/.DS_Store", kHome + "/Desktop/.DS_Store",
                       kHome + "/Documents/.DS_Store"}));
    EXPECT_EQ(result.exitCode(), 0);
}

TEST(StageExampleTest, RemovesTheUsersOwnDamagedPreferences) {
    Result result;
    EXPECT_EQ(removedBy([&] { result = example({"removeCorruptUserPreferences"}); }),
              beneathHome({"Preferences/com.example.Painter.plist", "Preferences/com.example.Empty.plist",
                           "Preferences/ByHost/com.example.Sync.0A1B2C3D.plist"}));
    EXPECT_EQ(result.exitCode(), 0);
}

TEST(StageExampleTest, TellsTheVolumes) {
    ORVANE_NEEDS("volumes");
    const Result result = example({"mountedBrowsableVolumes"});
    EXPECT_EQ(result.exitCode(), 0);
    for (const char* name : {"Data", "Backup", "Time Capsule"}) {
        EXPECT_NE(result.output.find(std::string("OVVolumePath: /Volumes/") + name + "\n"), std::string::npos)
            << result.output;
    }
}

TEST(StageExampleTest, AnswersForTheSystem) {
    EXPECT_EQ(example({"homeDirectory"}).output, kHome + "\n");
    EXPECT_EQ(example({"systemVersion"}).output, "10.13.6\n");
    EXPECT_EQ(example({"systemIsSnowLeopardOrLater"}).output, "yes\n");
    EXPECT_EQ(example({"formatBytes", "1500000"}).output, "1.5 MB\n");
    EXPECT_EQ(example({"formatBytes", "-1"}).exitCode(), 64);
    EXPECT_GT(std::stoll(example({"freeMemoryCount"}).output), 0);
}

// --- caches and histories

TEST(StageCatalogueTest, TheUsersCachesGoAndNothingElse) {
    Strings expected;
    for (const char* folder :
         {"/Users/ann/Library/Caches", "/Users/ann/Library/Containers/com.example.Notes/Data/Library/Caches"}) {
        const Strings all = lines(runProgram("/usr/bin/find", {folder, "-mindepth", "1"}).output);
        EXPECT_FALSE(all.empty());
        expected.insert(expected.end(), all.begin(), all.end());
    }
    std::sort(expected.begin(), expected.end());
    Result result;
    EXPECT_EQ(removedBy([&] { result = example({"cleanUserCache"}); }), expected);
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(lines(result.output).size(), expected.size()) << result.output;
    EXPECT_EQ(statements(), Strings());
}

TEST(StageCatalogueTest, TheDashboardsCacheGoesAndTheDockIsRelaunched) {
    Result result;
    EXPECT_EQ(removedBy([&] { result = example({"cleanDashboardCache"}); }),
              beneathHome({"Caches/com.apple.dashboard.client/Weather.cache"}));
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(statements(), kDockRelaunched);
}

TEST(StageCatalogueTest, TheDockIsRelaunchedAfterAFailedDeletionToo) {
    makeFolder(kHome + "/Library/Caches/com.apple.dashboard.client/of root");
    write(kHome + "/Library/Caches/com.apple.dashboard.client/of root/file", "x");
    const Result result = example({"cleanDashboardCache"});
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_NE(result.output.find("of root/file"), std::string::npos) << result.output;
    EXPECT_EQ(statements(), kDockRelaunched);
}

TEST(StageCatalogueTest, TheDashboardsStatusIsTheDeletionsEvenWithoutADock) {
    ASSERT_EQ(::unlink("/usr/bin/osascript"), 0);
    EXPECT_EQ(example({"cleanDashboardCache"}).exitCode(), 0);
}

struct Browser {
    std::string selector;
    Strings caches;
    Strings histories;
};

const std::vector<Browser>& browsers() {
    static const std::vector<Browser> all = {
        {"com.apple.safari",
         {"Caches/com.apple.Safari/Cache.db", "Caches/com.apple.Safari/fsCachedData",
          "Caches/com.apple.Safari/fsCachedData/77AA"},
         {"Safari/History.plist"}},
        {"org.mozilla.firefox",
         {"Caches/Firefox/Profiles/k3x9.default/cache2", "Caches/Firefox/Profiles/k3x9.default/cache2/entries",
          "Caches/Firefox/Profiles/k3x9.default/cache2/entries/0F0F"},
         {"Application Support/Firefox/Profiles/k3x9.default/places.sqlite",
          "Application Support/Firefox/Profiles/k3x9.default/places.sqlite-wal"}},
        {"com.google.chrome",
         {"Caches/Google/Chrome/Default/Cache/data_0"},
         {"Application Support/Google/Chrome/Default/History",
          "Application Support/Google/Chrome/Default/History Provider Cache",
          "Application Support/Google/Chrome/Default/History-journal",
          "Application Support/Google/Chrome/Default/Last Session",
          "Application Support/Google/Chrome/Default/Last Tabs"}},
    };
    return all;
}

TEST(StageCatalogueTest, EachBrowsersCacheGoesAlone) {
    for (const Browser& browser : browsers()) {
        Result result;
        EXPECT_EQ(removedBy([&] {
                      result = example({"cleanBrowserCache", browser.selector});
                  }),
                  beneathHome(browser.caches));
        EXPECT_EQ(result.exitCode(), 0) << browser.selector;
    }
}

TEST(StageCatalogueTest, EachBrowsersHistoryGoesAlone) {
    for (const Browser& browser : browsers()) {
        Result result;
        EXPECT_EQ(removedBy([&] {
                      result = example({"cleanBrowserHistory", browser.selector});
                  }),
                  beneathHome(browser.histories));
        EXPECT_EQ(result.exitCode(), 0) << browser.selector;
    }
}

TEST(StageCatalogueTest, FirefoxsHistoryIsFoundInAnyFolderOfTheLibrary) {
    const std::string profile = kHome + "/Library/Mozilla/Firefox/Profiles/old";
    makeFolder(profile, kAnn);
    write(profile + "/places.sqlite", "x", kAnn);
    write(profile + "/replaces.sqlite", "x", kAnn);
    Strings expected = browsers()[1].histories;
    expected.emplace_back("Mozilla/Firefox/Profiles/old/places.sqlite");
    EXPECT_EQ(removedBy([] { example({"cleanBrowserHistory", "org.mozilla.firefox"}); }), beneathHome(expected));
}

TEST(StageCatalogueTest, AllBrowsersAreCleanedOneAfterTheOther) {
    for (const char* operation : {"cleanBrowserCache", "cleanBrowserHistory"}) {
        Strings expected;
        for (const Browser& browser : browsers()) {
            const Strings& paths = operation == std::string("cleanBrowserCache") ? browser.caches : browser.histories;
            expected.insert(expected.end(), paths.begin(), paths.end());
        }
        Result result;
        EXPECT_EQ(removedBy([&] { result = example({operation, "ALL_BROWSERS"}); }), beneathHome(expected));
        EXPECT_EQ(result.exitCode(), 0) << operation;
        const std::size_t safari = result.output.find("Safari");
        const std::size_t firefox = result.output.find("Firefox");
        const std::size_t chrome = result.output.find("Chrome");
        EXPECT_TRUE(safari < firefox && firefox < chrome && chrome != std::string::npos) << result.output;
    }
}

TEST(StageCatalogueTest, AnUnknownBrowserHasNothingRemoved) {
    for (const char* operation : {"cleanBrowserCache", "cleanBrowserHistory"}) {
        for (const char* selector : {"com.apple.Safari", "", "all_browsers"}) {
            Result result;
            EXPECT_EQ(removedBy([&] { result = example({operation, selector}); }), Strings());
            EXPECT_EQ(result.exitCode(), 0) << selector;
            EXPECT_EQ(result.output, "") << selector;
        }
    }
}

TEST(StageCatalogueTest, ABrowserWithoutDataIsNoError) {
    for (const char* folder : {"/Library/Application Support/Google", "/Library/Caches/Google"}) {
        ASSERT_EQ(runProgram("/bin/rm", {"-r", kHome + folder}).exitCode(), 0);
    }
    for (const char* operation : {"cleanBrowserCache", "cleanBrowserHistory"}) {
        const Result result = example({operation, "com.google.chrome"});
        EXPECT_EQ(result.exitCode(), 0) << operation;
        EXPECT_EQ(result.output + result.errors, "") << operation;
    }
}

// --- the desktop

class StageDesktopTest : public ::testing::Test {
  protected:
    void SetUp() override { makeFolder(archive, kAnn); }

    static Result clean(const std::string& where) { return example({"--archive", where, "cleanDesktop"}); }

    static std::string today() {
        const std::time_t now = std::time(nullptr);
        std::tm local = {};
        std::array<char, 32> text = {};
        ::localtime_r(&now, &local);
        std::strftime(text.data(), text.size(), "Desktop from %Y-%m-%d", &local);
        return text.data();
    }

    static Strings sortedNamesIn(const std::string& folder) {
        Strings names = namesIn(folder);
        std::sort(names.begin(), names.end());
        return names;
    }

    const std::string archive = kHome + "/Archive";
    const std::string desktop = kHome + "/Desktop";
};

TEST_F(StageDesktopTest, VisibleItemsMoveToTheDatedFolderAndHiddenOnesStay) {
    makeFolder(desktop + "/a folder", kAnn);
    write(desktop + "/a folder/.inner", "x", kAnn);
    write(desktop + "/it's \"odd\"\nindeed", "x", kAnn);
    write(desktop + "/-rf", "x", kAnn);
    ASSERT_EQ(::symlink("/nowhere", (desktop + "/dangling").c_str()), 0);
    const std::string before = today();
    const Result result = clean(archive);
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output + result.errors, "");
    const Strings folders = namesIn(archive);
    ASSERT_EQ(folders.size(), 1U);
    EXPECT_TRUE(folders[0] == before || folders[0] == today()) << folders[0];
    EXPECT_EQ(sortedNamesIn(archive + "/" + folders[0]),
              (Strings{"-rf", "To do.txt", "a folder", "dangling", "it's \"odd\"\nindeed"}));
    EXPECT_TRUE(exists(archive + "/" + folders[0] + "/a folder/.inner"));
    EXPECT_EQ(status(archive + "/" + folders[0]).st_uid, kAnn);
    EXPECT_EQ(namesIn(desktop), (Strings{".DS_Store"}));
}

TEST_F(StageDesktopTest, TwoRunsOnOneDayMakeTwoFolders) {
    EXPECT_EQ(clean(archive).exitCode(), 0);
    write(desktop + "/new", "x", kAnn);
    EXPECT_EQ(clean(archive).exitCode(), 0);
    const Strings folders = sortedNamesIn(archive);
    ASSERT_EQ(folders.size(), 2U);
    EXPECT_TRUE(exists(archive + "/" + folders[0] + "/To do.txt"));
    EXPECT_EQ(namesIn(archive + "/" + folders[1]), (Strings{"new"}));
}

TEST_F(StageDesktopTest, AnEmptyDesktopMakesAnEmptyFolder) {
    ASSERT_EQ(::unlink((desktop + "/To do.txt").c_str()), 0);
    EXPECT_EQ(clean(archive).exitCode(), 0);
    const Strings folders = namesIn(archive);
    ASSERT_EQ(folders.size(), 1U);
    EXPECT_EQ(namesIn(archive + "/" + folders[0]), Strings());
}

TEST_F(StageDesktopTest, AnArchiveOnTheDesktopIsComplainedAboutWhileTheOthersMove) {
    const Result result = clean(desktop);
    EXPECT_EQ(result.exitCode(), 0) << "find does not count what mv says";
    EXPECT_TRUE(result.output.starts_with("mv: ")) << result.output;
    EXPECT_EQ(lines(result.output).size(), 1U) << result.output;
    const Strings made = glob(desktop + "/*");
    ASSERT_EQ(made.size(), 1U);
    EXPECT_TRUE(made[0].starts_with(desktop + "/Desktop from ")) << made[0];
    EXPECT_EQ(namesIn(made[0]), (Strings{"To do.txt"}));
}

TEST_F(StageDesktopTest, TheTildeOfTheArchiveIsTheHomeFolder) {
    EXPECT_EQ(clean("~/Archive").exitCode(), 0);
    const Strings folders = namesIn(archive);
    ASSERT_EQ(folders.size(), 1U);
    EXPECT_EQ(namesIn(archive + "/" + folders[0]), (Strings{"To do.txt"}));
}

TEST_F(StageDesktopTest, WithoutItsFolderNothingMoves) {
    const Strings before = files();
    const Result missing = clean(kHome + "/missing");
    EXPECT_EQ(missing.exitCode(), 1);
    EXPECT_EQ(missing.output, "");
    EXPECT_NE(missing.errors.find("-[OVTaskRunner cleanDesktop] [Line "), std::string::npos) << missing.errors;
    EXPECT_NE(missing.errors.find("ERROR creating backup folder /Users/ann/missing/Desktop from "), std::string::npos)
        << missing.errors;
    const Result unanswered = example({"cleanDesktop"});
    EXPECT_EQ(unanswered.exitCode(), 2);
    EXPECT_EQ(unanswered.output, "");
    EXPECT_EQ(files(), before);
}

// --- mail and Launch Services

constexpr const char* kMailIndex = "/Users/ann/Library/Mail/V5/MailData/Envelope Index";

TEST(StageCatalogueTest, TheMailIndexShrinksAndIsListed) {
    const std::string bobs = read("/Users/bob/Library/Mail/V5/MailData/Envelope Index");
    const auto before = status(kMailIndex).st_size;
    const Result result = example({"vacuumAppleMailIndex"});
    EXPECT_EQ(result.exitCode(), 0);
    const auto after = status(kMailIndex).st_size;
    EXPECT_LT(after, before);
    ASSERT_EQ(lines(result.output).size(), 1U) << result.output;
    EXPECT_NE(result.output.find(" " + std::to_string(after) + " "), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("Envelope"), std::string::npos) << result.output;
    EXPECT_EQ(
        runProgram("/usr/bin/sqlite3", {kMailIndex, "PRAGMA integrity_check; SELECT count(*) FROM messages"}).output,
        "ok\n20\n");
    EXPECT_EQ(read("/Users/bob/Library/Mail/V5/MailData/Envelope Index"), bobs);
}

TEST(StageCatalogueTest, WithoutAMailFolderFindComplainsOfBothLooks) {
    ASSERT_EQ(::rename("/Users/ann/Library/Mail", "/Users/ann/Library/Mail.away"), 0);
    const Strings before = files();
    const std::string index = read("/Users/ann/Library/Mail.away/V5/MailData/Envelope Index");
    const Result result = example({"vacuumAppleMailIndex"});
    EXPECT_EQ(result.exitCode(), 1);
    const Strings all = lines(result.output);
    ASSERT_EQ(all.size(), 2U) << result.output;
    for (const std::string& line : all) {
        EXPECT_NE(line.find("find: "), std::string::npos) << line;
        EXPECT_NE(line.find("/Users/ann/Library/Mail"), std::string::npos) << line;
    }
    EXPECT_EQ(files(), before);
    EXPECT_EQ(read("/Users/ann/Library/Mail.away/V5/MailData/Envelope Index"), index);
}

TEST(StageCatalogueTest, LaunchServicesAreRebuiltWithoutTheLinesOfWhatIsNoApplication) {
    const Result bare = runProgram(kRegister, {"-r", "-all", "local"}, kAnn);
    ASSERT_NE(bare.errors.find("lsregister: error -10811"), std::string::npos) << bare.errors;
    const Result result = example({"rebuildLaunchServices"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output.find("-10811"), std::string::npos) << result.output;
    EXPECT_NE(result.output.find("registered /Applications/Editor.app\n"), std::string::npos) << result.output;
    EXPECT_EQ(statements(), kFinderRelaunched);
    const std::string registered = runProgram(kRegister, {"-dump"}, kAnn).output;
    EXPECT_NE(registered.find("CoreServices/Finder.app"), std::string::npos) << registered;
    EXPECT_EQ(registered.find("Player.app"), std::string::npos) << registered;
}

TEST(StageCatalogueTest, TheRebuildsStatusIsThatOfItsFilterAndTheFinderIsRelaunchedWhateverItIs) {
    script(kRegister, "echo 'lsregister: error -10811 alone' >&2\n");
    const Result result = example({"rebuildLaunchServices"});
    EXPECT_EQ(result.exitCode(), 1) << "grep had no line to show";
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(statements(), kFinderRelaunched);
}

/// The example with its output in a pipe, while it runs.
class RunningExample {
  public:
    explicit RunningExample(const std::string& words) {
        EXPECT_EQ(::mkfifo(kOutput, 0666), 0);
        EXPECT_EQ(::chmod(kOutput, 0666), 0);
        Start start;
        start.path = "/bin/sh";
        start.words = {"-c", std::string("exec ") + kExample + " " + words + " >" + kOutput};
        process = launch(start);
        output_ = ::open(kOutput, O_RDONLY | O_CLOEXEC);
    }
    RunningExample(const RunningExample&) = delete;
    RunningExample& operator=(const RunningExample&) = delete;
    ~RunningExample() { ::close(output_); }

    /// What comes next; empty when nothing does for long, or at the end.
    [[nodiscard]] std::string next() const {
        pollfd ready = {output_, POLLIN, 0};
        std::array<char, 4096> buffer = {};
        if (::poll(&ready, 1, 60000) != 1) {
            return "";
        }
        const ssize_t length = ::read(output_, buffer.data(), buffer.size());
        return {buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))};
    }

    /// The rest of the output, and how the process ended.
    [[nodiscard]] Result end() const {
        Result result;
        for (std::string more = next(); !more.empty(); more = next()) {
            result.output += more;
        }
        EXPECT_EQ(::waitpid(process, &result.waitStatus, 0), process);
        return result;
    }

    pid_t process = -1;

  private:
    static constexpr const char* kOutput = "/tmp/output";
    int output_ = -1;
};

TEST(StageCatalogueTest, TheRebuildShowsEachLineWhenItComes) {
    script(kRegister,
           "echo first\n"
           "for ((i = 0; i < 300; i++)); do [[ ! -e /tmp/seen ]] || { echo second; exit; }; sleep 0.1; done\n"
           "echo 'nobody saw the first'\n");
    const RunningExample running("rebuildLaunchServices");
    EXPECT_EQ(running.next(), "first\n");
    write("/tmp/seen", "");
    const Result result = running.end();
    EXPECT_EQ(result.output, "second\n");
    EXPECT_EQ(result.exitCode(), 0);
}

// --- memory

/// A walk that goes on until it is ended, and notes that.
void walkForLong() {
    script("/usr/bin/du", "echo $$ >/tmp/walk\necho \"$*\" >/tmp/arguments\ntrap 'echo ended >/tmp/ended; exit' TERM\n"
                          "while :; do /bin/sleep.real 0.1; done\n");
}

/// A pause that notes its length and its process, and lasts until `over` holds.
void replaceSleep(const std::string& over) {
    ASSERT_EQ(::rename("/bin/sleep", "/bin/sleep.real"), 0);
    script("/bin/sleep", "echo $$ >/tmp/pause.new; mv /tmp/pause.new /tmp/pause\necho \"$1\" >/tmp/length\n"
                         "while ! (" +
                             over + "); do /bin/sleep.real 0.1; done\n");
}

bool isMemoryReport(const std::string& text) {
    const ::testing::internal::RE amount("[0-9.]+ ?[a-zA-Z]+ of memory freed\n");
    return text == "No memory freed\n" || ::testing::internal::RE::FullMatch(text, amount);
}

TEST(StageMemoryTest, TheWalkIsEndedAfterItsTwentySecondsAndTheGainReported) {
    ASSERT_EQ(::link("/bin/sleep", "/bin/sleep.real"), 0);
    walkForLong();
    const auto start = std::chrono::steady_clock::now();
    const Result result = example({"freeMemory"});
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_TRUE(isMemoryReport(result.output)) << result.output;
    EXPECT_EQ(read("/tmp/arguments"), "-k -x /\n");
    EXPECT_TRUE(eventually([] { return exists("/tmp/ended"); }));
    EXPECT_TRUE(eventually([] { return hasEnded("/tmp/walk"); }));
}

TEST(StageMemoryTest, AWalkThatIsOverBeforeItsTimeIsAFailureWithoutAReport) {
    script("/usr/bin/du", "echo $$ >/tmp/walk\n");
    replaceSleep("[[ -e /tmp/walk ]] && ! kill -0 $(</tmp/walk) 2>/dev/null && /bin/sleep.real 0.5");
    const Result result = example({"freeMemory"});
    EXPECT_EQ(result.exitCode(), 1) << "kill finds nobody, and is the last of the line";
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(read("/tmp/length"), "20\n");
}

TEST(StageMemoryTest, AnInterruptCancelsAndLeavesNoProcessBehind) {
    replaceSleep("false");
    walkForLong();
    const RunningExample running("freeMemory");
    ASSERT_TRUE(eventually([] { return exists("/tmp/walk") && exists("/tmp/arguments") && exists("/tmp/pause"); }));
    ASSERT_EQ(::kill(running.process, SIGINT), 0);
    const Result result = running.end();
    EXPECT_EQ(result.exitCode(), 2);
    EXPECT_EQ(result.output, "");
    EXPECT_TRUE(eventually([] { return hasEnded("/tmp/walk"); }));
    EXPECT_TRUE(eventually([] { return hasEnded("/tmp/pause"); }));
}

// --- applications, restart and shutdown

TEST(StageCatalogueTest, ScriptsReachTheApplications) {
    Strings expected;
    for (const auto& [operation, noted] : {std::pair<const char*, Strings>{"relaunchFinder", kFinderRelaunched},
                                           {"relaunchDock", kDockRelaunched},
                                           {"restart", {"ann: tell application \"System Events\" to restart"}},
                                           {"shutdown", {"ann: tell application \"System Events\" to shut down"}}}) {
        const Result result = example({operation});
        EXPECT_EQ(result.exitCode(), 0) << operation;
        EXPECT_EQ(result.output + result.errors, "") << operation;
        expected.insert(expected.end(), noted.begin(), noted.end());
        EXPECT_EQ(statements(), expected) << operation;
    }
}

TEST(StageCatalogueTest, AScriptThatFailsIsASilentFailure) {
    const Result result = example({"runAppleScript", "tell application \"Nobody\" to sing"});
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(statements(), Strings());
}

TEST(StageCatalogueTest, WithoutOsascriptNoScriptRuns) {
    ASSERT_EQ(::unlink("/usr/bin/osascript"), 0);
    EXPECT_EQ(example({"runAppleScript", "delay 0"}).exitCode(), 1);
    for (const char* operation : {"relaunchFinder", "relaunchDock", "restart", "shutdown"}) {
        EXPECT_EQ(example({operation}).exitCode(), 1) << operation;
    }
}

TEST(StageCatalogueTest, TheMenuBarServerIsSentAHangUp) {
    const Result nobody = example({"relaunchSystemMenu"});
    EXPECT_EQ(nobody.exitCode(), 1);
    EXPECT_EQ(nobody.output, "No matching processes were found\n");
    // Where there is no /proc, killall looks into the file.
    script("/tmp/SystemUIServer", "trap 'echo restarted >/tmp/server; exit' HUP\necho $$ >/tmp/ready\n"
                                  "while :; do sleep 0.1; done\n");
    Start start;
    start.path = "/tmp/SystemUIServer";
    const pid_t server = launch(start);
    EXPECT_TRUE(eventually([] { return !read("/tmp/ready").empty(); }));
    write("/var/run/SystemUIServer.pid", std::to_string(server) + "\n");
    EXPECT_EQ(example({"relaunchSystemMenu"}).exitCode(), 0);
    EXPECT_EQ(::waitpid(server, nullptr, 0), server);
    EXPECT_EQ(read("/tmp/server"), "restarted\n");
}

TEST(StageCatalogueTest, TheWirelessInterfaceIsSwitchedOffAndOn) {
    const Result result = example({"restartAirport"});
    EXPECT_EQ(result.exitCode(), 0);
    EXPECT_EQ(result.output + result.errors, "");
    EXPECT_EQ(read("/var/db/airport"), "on\noff\non\n");
}

TEST(StageCatalogueTest, WithoutAWirelessInterfaceTheLinesStillRun) {
    ASSERT_EQ(runProgram("/usr/bin/sed", {"-i", "s/Port: Wi-Fi/Port: FireWire/", "/usr/sbin/networksetup"}).exitCode(),
              0);
    const Result result = example({"restartAirport"});
    EXPECT_EQ(result.exitCode(), 1);
    const Strings all = lines(result.output);
    EXPECT_EQ(std::count(all.begin(), all.end(), "** Error: The parameters were not valid."), 2) << result.output;
    EXPECT_EQ(read("/var/db/airport"), "on\n");
}

TEST(StageCatalogueTest, WithoutADesktopNothingRunsOrIsAsked) {
    EXPECT_EQ(example({"turnOnScreensaver"}).exitCode(), 1);
    EXPECT_EQ(example({"restartOrShutdown"}).exitCode(), 2);
    const Result quit = example({"quitAllApplications"});
    EXPECT_EQ(quit.exitCode(), 0);
    EXPECT_EQ(quit.output, "");
    EXPECT_EQ(example({"runningForegroundApplications"}).output, "");
    EXPECT_EQ(example({"forceQuitApplication", "Finder"}).exitCode(), 1);
    EXPECT_EQ(statements(), Strings());
}

// --- large files

TEST(StageCatalogueTest, TheSavedSearchIsWrittenAndNotOpened) {
    const std::string folder = "/var/folders/zz/stage_ann/T";
    const std::string file = folder + "/Files Larger than 5 MB in Documents.savedSearch";
    Start start;
    start.path = kExample;
    start.words = {"--size", "5", "findLargeFilesInPath", "/Users/ann/Documents"};
    start.environment = Strings{"PATH=/usr/bin:/bin", "TMPDIR=" + folder};
    const Result result = run(start);
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_EQ(result.output, "ERROR opening saved search " + file + "\n");
    const std::string written = read(file);
    EXPECT_EQ(runProgram("/usr/bin/plutil", {file}).output, file + ": OK\n");
    EXPECT_NE(written.find("5000000"), std::string::npos);
    EXPECT_NE(written.find("/Users/ann/Documents"), std::string::npos);
    for (const char* placeholder : {"__SIZE_IN_BYTES__", "__SIZE_IN_MEGABYTES__", "__PATH__"}) {
        EXPECT_EQ(written.find(placeholder), std::string::npos) << placeholder;
    }
    EXPECT_EQ(run(start).output, "ERROR opening saved search " + file + "\n") << "the file is written again";
    EXPECT_EQ(glob(folder + "/*.savedSearch").size(), 1U);
}

TEST(StageCatalogueTest, WithoutItsTemplateNoSavedSearchIsWritten) {
    ASSERT_EQ(runProgram("/bin/rm", {"-r", "/stage/bin/Resources"}).exitCode(), 0);
    const Result result = example({"findLargeFilesInPath", "/Users/ann"});
    EXPECT_EQ(result.exitCode(), 1);
    EXPECT_TRUE(result.output.starts_with("ERROR reading template file (null): ")) << result.output;
    EXPECT_EQ(glob("/tmp/*.savedSearch"), Strings());
}

// --- settings

TEST(StageSettingsTest, WithoutDefaultsEveryKeyIsAbsent) {
    for (const auto& [operation, answer] : {std::pair<const char*, const char*>{"isDashboardOn", "yes\n"},
                                            {"showInvisibleFiles", "no\n"},
                                            {"showDownloadWarning", "no\n"},
                                            {"screenshotHasShadow", "yes\n"},
                                            {"screenshotFormat", "(null)\n"},
                                            {"screenshotFormats", "JPG\nPNG\nPDF\nTIFF\n"}}) {
        const Result result = example({operation});
        EXPECT_EQ(result.exitCode(), 0) << operation;
        EXPECT_EQ(result.output, answer) << operation;
    }
    EXPECT_EQ(example({"objectForKey", "mcx-disabled", "com.apple.dashboard"}).output, "(null)\n");
}

void expectLost(const Strings& words, const std::string& domain, int exitCode) {
    const Result result = example(words);
    EXPECT_EQ(result.exitCode(), exitCode) << words.at(0);
    EXPECT_NE(result.errors.find("what was set in " + domain + " is lost\n"), std::string::npos) << result.errors;
}

TEST(StageSettingsTest, WithoutDefaultsAToggleLogsTheLossAndItsStatusIsTheRelaunchs) {
    expectLost({"toggleDashboard"}, "com.apple.dashboard", 0);
    EXPECT_EQ(statements(), kDockRelaunched);
    expectLost({"toggleInvisibleFiles"}, "com.apple.finder", 0);
    Strings expected = kDockRelaunched;
    expected.insert(expected.end(), kFinderRelaunched.begin(), kFinderRelaunched.end());
    EXPECT_EQ(statements(), expected);
    expectLost({"toggleDownloadWarning"}, "com.apple.LaunchServices", 0);
    expected.insert(expected.end(), kFinderRelaunched.begin(), kFinderRelaunched.end());
    EXPECT_EQ(statements(), expected);
    // No menu-bar server runs on the stage.
    expectLost({"toggleScreenshotShadow"}, "com.apple.screencapture", 1);
    expectLost({"setScreenshotFormat", "PNG"}, "com.apple.screencapture", 1);
    expectLost({"setObject", "text", "key", "com.example.Editor"}, "com.example.Editor", 0);
    EXPECT_EQ(statements(), expected);
}

TEST(StageSettingsTest, AToggleWritesThoughTheRelaunchFails) {
    ASSERT_EQ(::unlink("/usr/bin/osascript"), 0);
    expectLost({"toggleDashboard"}, "com.apple.dashboard", 1);
    expectLost({"toggleInvisibleFiles"}, "com.apple.finder", 1);
    expectLost({"toggleDownloadWarning"}, "com.apple.LaunchServices", 1);
}

} // namespace
} // namespace orvane::stage
