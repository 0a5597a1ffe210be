// The parts of orvane that need no terminal.

#include "Pasteboard/OVPasteboardServer.h"
#include "Tasks/OVTaskCatalogue.h"
#include "Terminal/CommandLine.h"
#include "Terminal/FreeSpace.h"
#include "Terminal/History.h"
#include "Terminal/Json.h"
#include "Terminal/OwnTasks.h"
#include "Terminal/Plan.h"
#include "Terminal/PrivatePasteboard.h"
#include "Terminal/Session.h"
#include "Terminal/Table.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"
#include "Tests/Fakes/FakePasteboard.h"
#include "TranslatedSources.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane::terminal {
namespace {

using Strings = std::vector<std::string>;

std::string contentsOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

// --- texts

TEST(TerminalText, ShowsWhatATerminalMustNotHaveAsNumbers) {
    EXPECT_EQ(shown("plain name"), "plain name");
    EXPECT_EQ(shown("a\nb\tc\x1b[31m\x7f"), "a\\x0ab\\x09c\\x1b[31m\\x7f");
    EXPECT_EQ(shown("\xC2\x9B"), "\\u{9b}");
    EXPECT_EQ(shown("a\xFF\xC3"), "a\\xff\\xc3");
    EXPECT_EQ(shown("\xED\xA0\x80"), "\\xed\\xa0\\x80");
    EXPECT_EQ(shown("back\\slash"), "back\\\\slash");
    for (const char* const mark : {"\u202A", "\u202B", "\u202C", "\u202D", "\u202E", "\u2066", "\u2067", "\u2068",
                                   "\u2069", "\u200E", "\u200F", "\u061C", "\u2028", "\u2029", "\uFEFF", "\u200B"}) {
        EXPECT_TRUE(shown(mark).starts_with("\\u{")) << shown(mark);
    }
    EXPECT_EQ(shown("שלום 漢字 é"), "שלום 漢字 é");
}

TEST(TerminalText, NoTwoNamesLookAlike) {
    EXPECT_NE(shown("\\x0a"), shown("\n"));
    EXPECT_NE(shown("\\u{202e}"), shown("\u202E"));
}

TEST(TerminalText, KeepsTheLinesOfPrograms) {
    EXPECT_EQ(shownOutput("a\\\tb\n\x1b[2J"), "a\\\tb\n\\x1b[2J");
}

TEST(TerminalText, CountsColumns) {
    EXPECT_EQ(columnsOf("abc"), 3U);
    EXPECT_EQ(columnsOf("é"), 1U);
    EXPECT_EQ(columnsOf("e\u0301"), 1U);
    EXPECT_EQ(columnsOf("漢字"), 4U);
    EXPECT_EQ(columnsOf("😀"), 2U);
}

TEST(TerminalText, CutsAtColumns) {
    EXPECT_EQ(cut("abcdef", 6), "abcdef");
    EXPECT_EQ(cut("abcdefg", 6), "abc...");
    EXPECT_EQ(cut("漢字漢字", 7), "漢字...");
    EXPECT_EQ(cut("漢字漢字", 6), "漢...");
    EXPECT_EQ(cut("abcdefg", 6, true), "...efg");
    EXPECT_EQ(cut("漢字漢字", 6, true), "...字");
    EXPECT_EQ(cut("abcdef", 2), "..");
    EXPECT_EQ(cut("abcdef", 0), "");
    EXPECT_EQ(padded("漢", 4), "漢  ");
    EXPECT_EQ(padded("7", 3, true), "  7");
}

TEST(TerminalText, WrapsAtBlanks) {
    EXPECT_EQ(wrapped("one two three", 7), (Strings{"one two", "three"}));
    EXPECT_EQ(wrapped("longword a", 4), (Strings{"longword", "a"}));
    EXPECT_EQ(wrapped("", 4), Strings());
}

TEST(TerminalText, WritesTimes) {
    EXPECT_EQ(durationText(7), "0:07");
    EXPECT_EQ(durationText(3723), "1:02:03");
    EXPECT_EQ(timestamp(0), "1970-01-01T00:00:00Z");
}

TEST(TerminalTable, WrapsTheLastColumnBesideTheOthers) {
    Table table({{"A"}, {"N", true}, {"What"}});
    table.add({"one", "1", "a text that goes on for a while"});
    table.add({"漢", "22", "x"});
    EXPECT_EQ(table.lines(30),
              (Strings{"A     N  What", "one   1  a text that goes on", "         for a while", "漢   22  x"}));
}

TEST(TerminalTable, StandsBelowOnANarrowTerminal) {
    Table table({{""}, {""}});
    table.add({"averylongname", "and what it is"});
    EXPECT_EQ(table.lines(20), (Strings{"averylongname", "    and what it is"}));
    for (const std::string& line : table.lines(8)) {
        EXPECT_LE(columnsOf(line), 8U) << line;
    }
}

// --- JSON

TEST(TerminalJson, BytesComeBack) {
    for (const std::string& bytes : {std::string("plain"), std::string("a\xFF\n\0b", 5), std::string("\xC3")}) {
        Json object = Json::object();
        setBytes(object, "path", bytes);
        const Json again = Json::parse(lineOf(object));
        EXPECT_EQ(bytesOf(again, "path"), bytes);
    }
    Json object = Json::object();
    setBytes(object, "path", "a\xFF");
    EXPECT_EQ(lineOf(object), "{\"path\":\"a\uFFFD\",\"pathHex\":\"61ff\"}");
}

// --- history

class TerminalHistory : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string path = "/tmp/orvane-history.XXXXXX";
        ASSERT_NE(::mkdtemp(path.data()), nullptr);
        root_ = path;
        folder_ = path + "/a/b";
    }
    void TearDown() override {
        for (const char* const name : {"/a/b/history.jsonl", "/a/b/history.1.jsonl"}) {
            ::unlink((root_ + name).c_str());
        }
        ::rmdir(folder_.c_str());
        ::rmdir((root_ + "/a").c_str());
        ::rmdir(root_.c_str());
    }

    static Json start(const std::string& run) {
        return {{"event", "start"}, {"run", run}, {"time", 1}, {"pid", 4}, {"tasks", Json::array()}};
    }
    static Json end(const std::string& run, const std::string& outcome) {
        return {{"event", "end"},        {"run", run},      {"time", 2},
                {"outcome", outcome},    {"exitStatus", 0}, {"freedBytes", 5},
                {"items", Json::array()}};
    }

    std::string root_;
    std::string folder_;
};

TEST_F(TerminalHistory, KeepsRunsForItsUserAlone) {
    const History history(folder_);
    ASSERT_EQ(history.add(start("one")), 0);
    ASSERT_EQ(history.add(start("two")), 0);
    ASSERT_EQ(history.add(end("one", "done")), 0);
    struct stat status = {};
    ASSERT_EQ(::stat(history.path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    const History::Content content = history.read(10);
    ASSERT_EQ(content.runs.size(), 2U);
    EXPECT_EQ(content.runs[0].start["run"], "two");
    EXPECT_TRUE(content.runs[0].end.is_null());
    EXPECT_EQ(content.runs[1].end["outcome"], "done");
    EXPECT_EQ(content.damaged, 0U);
    EXPECT_EQ(history.read(1).runs.size(), 1U);
}

TEST_F(TerminalHistory, SkipsDamagedLines) {
    const History history(folder_);
    ASSERT_EQ(history.add(start("one")), 0);
    std::ofstream(history.path(), std::ios::app)
        << "not json\n{\"event\":\"start\"}\n{\"event\":\"end\",\"run\":\"one\",\"time\":1}\n[]\n\xFF\n{\"event\": "
           "\"st";
    ASSERT_EQ(history.add(end("one", "failed")), 0);
    const History::Content content = history.read(10);
    EXPECT_EQ(content.damaged, 6U);
    ASSERT_EQ(content.runs.size(), 1U);
    EXPECT_EQ(content.runs[0].end["outcome"], "failed");
}

TEST_F(TerminalHistory, SkipsRecordsThatAreDamagedWithin) {
    const auto with = [](Json record, const char* key, const Json& value) {
        record[key] = value;
        return record;
    };
    const Json task = {{"name", "feat"}, {"arguments", Json::array()}};
    const Json item = {{"path", "/a"}, {"bytes", 1}, {"outcome", "removed"}};
    const std::vector<Json> damaged = {
        with(start("one"), "time", -1),
        with(start("one"), "time", 253402300800),
        with(start("one"), "time", 18446744073709551615U),
        with(start("one"), "time", 1.5),
        with(start("one"), "pid", "4"),
        with(start("one"), "processStarted", -1),
        with(start("one"), "tasks", Json::array({"feat"})),
        with(start("one"), "tasks", Json::array({with(task, "name", 1)})),
        with(start("one"), "tasks", Json::array({with(task, "arguments", 1)})),
        with(start("one"), "tasks", Json::array({with(task, "arguments", Json::array({"a"}))})),
        with(start("one"), "tasks", Json::array({with(task, "arguments", Json::array({Json({{"text", 1}})}))})),
        with(end("one", "done"), "outcome", 1),
        with(end("one", "done"), "exitStatus", 0.5),
        with(end("one", "done"), "freedBytes", "5"),
        with(end("one", "done"), "seconds", "5"),
        with(end("one", "done"), "itemsOmitted", -1),
        with(end("one", "done"), "items", Json::array({"/a"})),
        with(end("one", "done"), "items", Json::array({with(item, "path", 1)})),
        with(end("one", "done"), "items", Json::array({with(item, "pathHex", 1)})),
        with(end("one", "done"), "items", Json::array({with(item, "pathHex", "2g")})),
        with(end("one", "done"), "items", Json::array({with(item, "bytes", -1)})),
        with(end("one", "done"), "items", Json::array({with(item, "outcome", false)}))};
    const History history(folder_);
    for (const Json& record : damaged) {
        ASSERT_EQ(history.add(record), 0);
    }
    ASSERT_EQ(history.add(with(with(start("two"), "processStarted", 7), "tasks", Json::array({task}))), 0);
    ASSERT_EQ(history.add(
                  with(with(end("two", "done"), "items", Json::array({with(item, "pathHex", "2f61")})), "seconds", 1)),
              0);
    const History::Content content = history.read(100);
    EXPECT_EQ(content.damaged, damaged.size());
    ASSERT_EQ(content.runs.size(), 1U);
    EXPECT_EQ(content.runs[0].end["seconds"], 1);
}

TEST_F(TerminalHistory, TurnsOverAndReadsBoth) {
    const History history(folder_, 300);
    for (int i = 0; i < 6; ++i) {
        ASSERT_EQ(history.add(start("run" + std::to_string(i))), 0);
    }
    struct stat status = {};
    ASSERT_EQ(::stat(history.path().c_str(), &status), 0);
    EXPECT_LE(status.st_size, 300);
    const History::Content content = history.read(10);
    ASSERT_GE(content.runs.size(), 4U);
    EXPECT_LT(content.runs.size(), 10U);
    EXPECT_EQ(content.runs[0].start["run"], "run5");
    EXPECT_EQ(content.runs[3].start["run"], "run2");
}

TEST_F(TerminalHistory, ManyWritersLoseNothing) {
    const History history(folder_, 10000);
    std::vector<pid_t> writers;
    for (int writer = 0; writer < 4; ++writer) {
        const pid_t child = ::fork();
        if (child == 0) {
            for (int i = 0; i < 50; ++i) {
                if (history.add(start(std::to_string(writer) + "-" + std::to_string(i))) != 0) {
                    ::_exit(1);
                }
            }
            ::_exit(0);
        }
        writers.push_back(child);
    }
    for (const pid_t writer : writers) {
        int status = 0;
        ASSERT_EQ(::waitpid(writer, &status, 0), writer);
        EXPECT_EQ(status, 0);
    }
    const History::Content content = history.read(1000);
    EXPECT_EQ(content.runs.size(), 200U);
    EXPECT_EQ(content.damaged, 0U);
}

TEST_F(TerminalHistory, AWriterThatHadToWaitWritesWhereTheNameIsNow) {
    const History history(folder_);
    ASSERT_EQ(history.add(start("old")), 0);
    const int held = ::open(history.path().c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::flock(held, LOCK_EX), 0);
    const pid_t writer = ::fork();
    if (writer == 0) {
        ::close(held);
        ::_exit(history.add(start("new")) == 0 ? 0 : 1);
    }
    ::usleep(300000); // until it waits; were it slower, it would find the new name at once
    ASSERT_EQ(std::rename(history.path().c_str(), (folder_ + "/history.1.jsonl").c_str()), 0);
    ASSERT_EQ(history.add(start("other")), 0);
    ::close(held);
    int status = 0;
    ASSERT_EQ(::waitpid(writer, &status, 0), writer);
    EXPECT_EQ(status, 0);
    EXPECT_NE(contentsOf(history.path()).find("\"new\""), std::string::npos);
}

TEST_F(TerminalHistory, SaysWhyItCannotBeWritten) {
    EXPECT_EQ(History(std::nullopt).add(start("one")), ENOENT);
    EXPECT_EQ(History(std::nullopt).read(1).runs.size(), 0U);
    EXPECT_EQ(History("/dev/null/x").add(start("one")), ENOTDIR);
    ASSERT_EQ(::mkdir((root_ + "/a").c_str(), 0700), 0);
    ASSERT_EQ(::mkdir(folder_.c_str(), 0700), 0);
    ASSERT_EQ(::symlink("/dev/null", History(folder_).path().c_str()), 0);
    EXPECT_EQ(History(folder_).add(start("one")), ELOOP);
}

// --- words

TEST(TerminalJobs, TakesTasksAndTheirArguments) {
    const std::vector<Job> jobs =
        jobsOf({"csc", "cleanBrowserCache", "firefox", "repairVolume", "/", "forceDeleteFiles", "/a", "b"});
    ASSERT_EQ(jobs.size(), 4U);
    EXPECT_EQ(jobs[0].arguments, Strings());
    EXPECT_EQ(jobs[1].arguments, Strings{"org.mozilla.firefox"});
    EXPECT_EQ(jobs[2].arguments, Strings{"/"});
    EXPECT_EQ(jobsOf({"cleanBrowserCache", "org.mozilla.firefox"})[0].arguments, jobs[1].arguments);
    ASSERT_EQ(jobs[3].arguments.size(), 2U);
    EXPECT_EQ(jobs[3].arguments[0], "/a");
    EXPECT_TRUE(jobs[3].arguments[1].starts_with("/") && jobs[3].arguments[1].ends_with("/b"));
}

TEST(TerminalJobs, RefusesWhatIsNone) {
    for (const Strings& words : std::vector<Strings>{{"nix"},
                                                     {"csc", "x"},
                                                     {"repairVolume"},
                                                     {"repairVolume", ""},
                                                     {"killProcess", "4711x"},
                                                     {"killProcess", "x"},
                                                     {"killProcess", "0"},
                                                     {"killProcess", "-3"},
                                                     {"killProcess", "99999999999"},
                                                     {"cleanBrowserCache", "lynx"}}) {
        try {
            jobsOf(words);
            ADD_FAILURE() << words.front();
        } catch (const CommandError& error) {
            EXPECT_EQ(error.status(), kUsage);
        }
    }
}

TEST(TerminalJobs, EveryTaskOfTheLibraryCanBeRun) {
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        EXPECT_EQ(isOwnTask(task.name), !task.isToolTask) << task.name;
    }
}

TEST(TerminalItems, ComeBackAsTheyWere) {
    ItemList list;
    ASSERT_TRUE(list.add({"/a\nb", 7, 3, 1, 2}));
    ASSERT_TRUE(list.add({"", 0, 0, 0, 0}));
    for (int round = 0; round < 2; ++round) {
        list.rewind();
        const auto first = list.next();
        ASSERT_TRUE(first.has_value());
        EXPECT_EQ(first->path, "/a\nb");
        EXPECT_EQ(first->bytes, 7U);
        EXPECT_EQ(first->entries, 3U);
        EXPECT_EQ(first->device, 1U);
        EXPECT_EQ(first->number, 2U);
        EXPECT_EQ(list.next().value_or(ItemList::Item{"none"}).path, "");
        EXPECT_FALSE(list.next().has_value());
        EXPECT_FALSE(list.next().has_value());
    }
}

TEST(TerminalFreeSpace, IsThatOfTheFileSystem) {
    EXPECT_TRUE(freeBytesAt("/").has_value());
    EXPECT_FALSE(freeBytesAt("/no such folder").has_value());
    FreeSpace space;
    space.watch("/no such folder", 99);
    space.start();
    EXPECT_EQ(space.freed(), 0);
}

// --- clipboard

TEST(TerminalClipboard, DoesNotReadWhatIsPrivate) {
    EXPECT_TRUE(isPrivateType("org.nspasteboard.ConcealedType"));
    EXPECT_TRUE(isPrivateType("org.nspasteboard.TransientType"));
    EXPECT_TRUE(isPrivateType("org.nspasteboard.AutoGeneratedType"));
    EXPECT_FALSE(isPrivateType("public.utf8-plain-text"));
}

TEST(TerminalClipboard, KeepsNoEntryOfWhatIsPrivate) {
    test::FakePasteboardService fake;
    PrivatePasteboardService service(fake);
    test::FakeRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);
    server->clearHistory();
    fake.general->put("one");
    server->pollPasteboard();
    ASSERT_EQ(server->pasteboards()->size(), 1U);
    test::FakeContent secret = test::textContent("password");
    secret.emplace_back("org.nspasteboard.ConcealedType", std::make_shared<test::FakeData>(""));
    fake.general->put({test::textContent("beside it"), secret});
    server->pollPasteboard();
    EXPECT_EQ(server->pasteboards()->size(), 1U);
    fake.general->put("two");
    server->pollPasteboard();
    EXPECT_EQ(server->pasteboards()->size(), 2U);
}

// --- texts in other languages

/// The literals that stand right inside `translated(...)` and `counted(...)`.
std::set<std::string> keysIn(const std::string& source) {
    std::set<std::string> keys;
    const std::regex call("\\b(translated|counted|localizedString)\\(");
    for (std::sregex_iterator found(source.begin(), source.end(), call), none; found != none; ++found) {
        std::size_t at = static_cast<std::size_t>(found->position() + found->length());
        std::string key;
        int depth = 1;
        const auto take = [&] {
            if (!key.empty()) {
                keys.insert(key);
            }
            key.clear();
        };
        for (; depth > 0 && at < source.size(); ++at) {
            const char c = source[at];
            if (c == '"') {
                std::string literal;
                for (++at; source[at] != '"'; ++at) {
                    if (source[at] == '\\') {
                        ++at;
                    }
                    literal += source[at];
                }
                key += depth == 1 ? literal : "";
            } else if (std::isspace(static_cast<unsigned char>(c)) == 0) {
                take();
                depth += c == '(' ? 1 : c == ')' ? -1 : 0;
            }
        }
    }
    return keys;
}

std::set<std::string> keysUsed() {
    std::set<std::string> keys = {"%i byte", "%i bytes", "%1.1f KB", "%1.1f MB", "%1.1f GB", "%1.1f TB"};
    for (const char* const file : {ORVANE_TRANSLATED_SOURCES}) {
        keys.merge(keysIn(contentsOf(file)));
    }
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        for (const std::string_view text : {task.group, task.does, task.why, task.kept, task.undo, task.duration}) {
            keys.emplace(text);
        }
    }
    for (const OVTaskTier tier : {OVTaskTier::reads, OVTaskTier::rebuilds, OVTaskTier::removes, OVTaskTier::forGood}) {
        keys.emplace(tierName(tier));
    }
    keys.erase("");
    return keys;
}

std::map<std::string, std::string> tableOf(const std::string& path) {
    std::map<std::string, std::string> table;
    const std::string text = contentsOf(path);
    const std::regex row("^\"((?:[^\"\\\\]|\\\\.)*)\" = \"((?:[^\"\\\\]|\\\\.)*)\";$", std::regex::multiline);
    for (std::sregex_iterator found(text.begin(), text.end(), row), none; found != none; ++found) {
        const std::string key = std::regex_replace(found->str(1), std::regex("\\\\(.)"), "$1");
        EXPECT_TRUE(table.emplace(key, found->str(2)).second) << "twice: " << key;
    }
    return table;
}

std::multiset<std::string> placeholdersIn(const std::string& text) {
    std::multiset<std::string> all;
    const std::regex placeholder("\\{[0-9]?\\}|%@|%i|%1\\.1f");
    for (std::sregex_iterator found(text.begin(), text.end(), placeholder), none; found != none; ++found) {
        all.insert(found->str());
    }
    return all;
}

TEST(TerminalTranslation, GermanIsComplete) {
    const auto table = tableOf(ORVANE_SOURCE_DIR "/Terminal/Resources/de.lproj/Localizable.strings");
    const std::set<std::string> used = keysUsed();
    EXPECT_GT(used.size(), 300U);
    for (const std::string& key : used) {
        EXPECT_TRUE(table.contains(key)) << "not translated: " << key;
    }
    for (const auto& [key, value] : table) {
        EXPECT_TRUE(used.contains(key)) << "not used: " << key;
        EXPECT_EQ(placeholdersIn(key), placeholdersIn(value)) << key;
        EXPECT_FALSE(value.empty()) << key;
    }
}

TEST(TerminalTranslation, PlaceholdersAreFilled) {
    EXPECT_EQ(counted(1, "one", "{0} of {1}", 7), "one");
    EXPECT_EQ(counted(2, "one", "{0} of {1}", 7), "2 of 7");
}

/// A text with a placeholder that gets too few values, or mixes both kinds, would end the command.
TEST(TerminalTranslation, NoTextMixesNumberedPlaceholdersWithOthers) {
    for (const std::string& key : keysUsed()) {
        const bool plain = key.find("{}") != std::string::npos;
        const bool numbered = std::regex_search(key, std::regex("\\{[0-9]\\}"));
        EXPECT_FALSE(plain && numbered) << key;
    }
}

// --- documents

TEST(TerminalDocuments, TheManualPageHasEveryCommandAndOption) {
    const std::string page = contentsOf(ORVANE_SOURCE_DIR "/Documentation/orvane.1");
    for (const auto& [command, options] : commandsAndOptions()) {
        EXPECT_TRUE(command.empty() || page.find("Cm " + command) != std::string::npos ||
                    page.find(", " + command) != std::string::npos)
            << command;
        for (const std::string& option : options) {
            EXPECT_NE(page.find(" -" + option.substr(2)), std::string::npos) << command << " " << option;
        }
    }
}

TEST(TerminalDocuments, TheManualPageHasEveryExitStatus) {
    const std::string page = contentsOf(ORVANE_SOURCE_DIR "/Documentation/orvane.1");
    const std::string section = page.substr(page.find(".Sh EXIT STATUS"));
    for (const ExitStatus status : {kDone, kFailed, kCancelled, kUsage, kNotPermitted, kTimedOut, kInterrupted}) {
        EXPECT_NE(section.find("\n.It " + std::to_string(status) + "\n"), std::string::npos) << status;
    }
}

Strings completed(const Strings& words) {
    Strings all;
    for (const Candidate& candidate : completionsOf(words)) {
        all.push_back(candidate.first);
    }
    return all;
}

bool has(const Strings& all, const std::string& word) {
    return std::find(all.begin(), all.end(), word) != all.end();
}

TEST(TerminalCompletion, ATaskMayFollowATaskAndItsArgument) {
    EXPECT_TRUE(has(completed({"run", "csc", ""}), "feat"));
    EXPECT_TRUE(has(completed({"run", "cleanBrowserCache", "firefox", "fe"}), "feat"));
    EXPECT_EQ(completed({"plan", "csc", "cleanBrowserCache", "f"}), Strings{"firefox"});
    EXPECT_EQ(completed({"run", "forceDeleteFiles", "/a", "fe"}), Strings());
    EXPECT_EQ(completed({"run", "nix", "fea"}), Strings{"feat"});
    EXPECT_EQ(completed({"explain", "fea"}), Strings{"feat"});
    EXPECT_EQ(completed({"explain", "csc", "fea"}), Strings());
}

TEST(TerminalCompletion, KnowsTheOptionsOfTheCommandAndOfAll) {
    EXPECT_TRUE(has(completed({"-"}), "--json"));
    EXPECT_FALSE(has(completed({"-"}), "--dry-run"));
    EXPECT_TRUE(has(completed({"run", "--json", "--"}), "--dry-run"));
    EXPECT_TRUE(has(completed({"run", "--json", "--"}), "--json"));
    EXPECT_TRUE(has(completed({"--json", "ta"}), "tasks"));
    EXPECT_TRUE(has(completed({}), "tasks"));
}

TEST(TerminalCompletion, KnowsTheCommands) {
    Strings words;
    for (const Candidate& candidate : completionsOf({""})) {
        words.push_back(candidate.first);
    }
    for (const auto& [command, options] : commandsAndOptions()) {
        if (!command.empty() && command.find(' ') == std::string::npos) {
            EXPECT_NE(std::find(words.begin(), words.end(), command), words.end()) << command;
        }
    }
    EXPECT_EQ(std::find(words.begin(), words.end(), "complete"), words.end());
}

} // namespace
} // namespace orvane::terminal
