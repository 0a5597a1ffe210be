// orvane's commands where there is neither a terminal nor a desktop.

#include "Terminal/Console.h"
#include "Terminal/Json.h"
#include "Terminal/Session.h"
#include "Terminal/Text.h"
#include "Tests/TerminalTestSupport.h"

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::terminal {
namespace {

using Strings = std::vector<std::string>;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

std::vector<Json> documents(const std::string& output) {
    std::vector<Json> all;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        all.push_back(Json::parse(line));
    }
    return all;
}

class TerminalCommand : public TerminalTest {
  protected:
    std::string makeFile(const std::string& name, const std::string& content = "x") {
        std::ofstream(folder() + "/" + name) << content;
        return folder() + "/" + name;
    }
    void writeHistory(const std::string& lines) {
        ASSERT_EQ(::mkdir((folder() + "/orvane").c_str(), 0700), 0);
        makeFile("orvane/history.jsonl", lines);
    }
    static bool exists(const std::string& path) {
        struct stat status = {};
        return ::lstat(path.c_str(), &status) == 0;
    }
};

// --- what there is

TEST_F(TerminalCommand, TheOverviewHasTheToolTheSpaceAndEveryTask) {
    const Ended shown = orvane({"--tool", "/no such tool"});
    EXPECT_EQ(shown.status, 0);
    EXPECT_TRUE(shown.output.starts_with("The tool is not installed: there is no /no such tool.\n"
                                         "`orvane setup` says more.\nFree: "))
        << shown.output;
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        EXPECT_TRUE(contains(shown.output, "\n  " + std::string(task.name))) << task.name;
    }
    const Json answer = Json::parse(orvane({"--json", "--tool", "/no such tool"}).output);
    EXPECT_EQ(answer["tool"], (Json{{"state", "missing"}, {"path", "/no such tool"}}));
    EXPECT_GT(answer["freeDiskBytes"], 0);
    EXPECT_EQ(answer["tasks"].size(), OVTaskCatalogue().size());
}

TEST_F(TerminalCommand, ARelativeToolIsMeantFromHere) {
    std::array<char, 4096> here = {};
    ASSERT_NE(::getcwd(here.data(), here.size()), nullptr);
    EXPECT_EQ(Json::parse(orvane({"--json", "--tool", "nix/tool"}).output)["tool"]["path"],
              std::string(here.data()) + "/nix/tool");
}

TEST_F(TerminalCommand, TasksAreListedWithWhatTheyNeed) {
    const std::string output = orvane({"tasks"}).output;
    EXPECT_TRUE(contains(output, "\ncsc ")) << output;
    EXPECT_TRUE(contains(output, "\nrepairVolume VOLUME ")) << output;
    EXPECT_EQ(Json::parse(orvane({"--json", "tasks"}).output)["tasks"].size(), OVTaskCatalogue().size());
}

TEST_F(TerminalCommand, ATaskIsExplainedWithItsLineAndWhatIsMissing) {
    const std::string output = orvane({"explain", "secureEmptyTrash"}).output;
    EXPECT_TRUE(output.starts_with("secureEmptyTrash  (for good, as root)\n\nWhat it does\n  ")) << output;
    EXPECT_TRUE(contains(output, "srm is not part of macOS 10.12 and later.")) << output;
    EXPECT_TRUE(contains(output, "\nWhat cannot be undone\n  ")) << output;
    EXPECT_TRUE(contains(output, "\nWhat is run\n  ")) << output;
    const Json task = Json::parse(orvane({"--json", "explain", "secureEmptyTrash"}).output)["task"];
    const Json srm = *std::find_if(task["programs"].begin(), task["programs"].end(),
                                   [](const Json& program) { return program["goneSince"] == "10.12"; });
    EXPECT_TRUE(contains(srm["program"].get<std::string>(), "srm"));
    EXPECT_FALSE(task["commands"].empty());
    EXPECT_TRUE(contains(orvane({"explain", "repairVolume"}).output, "repairVolume VOLUME  ("));
    EXPECT_EQ(orvane({"explain", "nix"}).errors, "orvane: There is no task nix (`orvane tasks` lists them).\n");
}

TEST_F(TerminalCommand, EveryTaskIsExplained) {
    for (const OVTaskDescription& task : OVTaskCatalogue()) {
        const std::string output = orvane({"explain", std::string(task.name)}).output;
        EXPECT_TRUE(output.starts_with(std::string(task.name))) << output;
        EXPECT_EQ(contains(output, ", as root)\n"), task.isToolTask) << output;
        EXPECT_EQ(contains(output, "\nWhat is kept\n"), !task.kept.empty()) << output;
        EXPECT_EQ(contains(output, "\nWhat cannot be undone\n"), !task.undo.empty()) << output;
        EXPECT_TRUE(contains(output, "\nHow long it takes\n")) << output;
    }
}

TEST_F(TerminalCommand, WithoutADesktopThatIsSaid) {
    for (const Strings& words : {Strings{"settings"},
                                 {"apps"},
                                 {"apps", "quit", "--yes"},
                                 {"apps", "relaunch", "Mail"},
                                 {"clipboard"},
                                 {"clipboard", "watch"},
                                 {"clipboard", "clear"},
                                 {"clipboard", "restore", "1"}}) {
        const Ended ended = orvane(words);
        EXPECT_EQ(ended.status, 1) << words.front();
        EXPECT_TRUE(contains(ended.errors, "made without the system's frameworks.\n")) << ended.errors;
    }
}

TEST_F(TerminalCommand, FreeMemoryIsTold) {
    EXPECT_TRUE(orvane({"memory"}).output.starts_with("Free memory: "));
    EXPECT_GT(Json::parse(orvane({"--json", "memory"}).output)["freeBytes"], 0);
}

TEST_F(TerminalCommand, EachStateOfTheToolHasItsSentence) {
    const OVToolClient client("/the/tool");
    using State = OVToolClient::State;
    EXPECT_EQ(stateSentence(client, State::missing), "The tool is not installed: there is no /the/tool.");
    EXPECT_EQ(stateSentence(client, State::notSetUp), "The tool /the/tool is not set up: it cannot become root.");
    EXPECT_EQ(stateSentence(client, State::ignoredSetUID),
              "The tool /the/tool is set up, but its volume does not let programs become root.");
    EXPECT_EQ(stateSentence(client, State::older), "The tool /the/tool is ready, but another version than " +
                                                       shown(OVToolClient::broughtAlong().value_or("")) +
                                                       ", which came with this program.");
    EXPECT_EQ(stateSentence(client, State::ready), "The tool /the/tool is ready.");
}

TEST_F(TerminalCommand, AToolThatIsMissingRunsNothing) {
    const Ended ended = orvane({"--tool", "/no such tool", "run", "--yes", "csc"});
    EXPECT_EQ(ended.status, 77);
    EXPECT_EQ(ended.errors, "orvane: The tool is not installed: there is no /no such tool.\n");
    EXPECT_EQ(orvane({"--tool", "/no such tool", "setup"}).status, 77);
}

TEST_F(TerminalCommand, AVolumeMayBeNamedByItsDevice) {
    EXPECT_EQ(jobsOf({"repairVolume", "disk9s9"})[0].arguments, Strings{"disk9s9"});
    EXPECT_EQ(jobsOf({"setScreenshotFormat", "png"})[0].arguments, Strings{"png"});
}

// --- colours and columns

TEST_F(TerminalCommand, ColoursAreAsAskedFor) {
    EXPECT_TRUE(contains(orvane({"--color", "always", "explain", "csc"}).output, "\x1b[1mWhy\x1b[0m"));
    EXPECT_FALSE(contains(orvane({"--color", "never", "explain", "csc"}).output, "\x1b"));
    EXPECT_FALSE(contains(orvane({"--color", "auto", "explain", "csc"}).output, "\x1b"));
    EXPECT_EQ(orvane({"--color", "blue", "tasks"}).status, 64);
    const Console console(Colour::always);
    EXPECT_EQ(console.styled(Console::Style::dim, "a"), "\x1b[2ma\x1b[0m");
    EXPECT_EQ(console.styled(Console::Style::red, "a"), "\x1b[31ma\x1b[0m");
    EXPECT_EQ(console.styled(Console::Style::green, "a"), "\x1b[32ma\x1b[0m");
    EXPECT_EQ(console.styled(Console::Style::yellow, "a"), "\x1b[33ma\x1b[0m");
}

TEST_F(TerminalCommand, ColumnsAreThoseThatTheEnvironmentAsksFor) {
    ::setenv("COLUMNS", "33", 1);
    EXPECT_EQ(Console::columns(), 33U);
    const std::string output = orvane({"tasks"}).output;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        EXPECT_LE(line.size(), 33U) << line;
    }
    const int null = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    for (const char* const wrong : {"0", "12x", "", "-4"}) {
        ::setenv("COLUMNS", wrong, 1);
        EXPECT_GT(Console::columns(null), 1000000U) << wrong;
    }
    ::close(null);
    ::unsetenv("COLUMNS");
}

// --- plan and run

TEST_F(TerminalCommand, APlanShowsEachItemAndChangesNothing) {
    const std::string file = makeFile("a", std::string(5000, 'x'));
    const std::string absent = folder() + "/absent";
    const Ended planned = orvane({"plan", "forceDeleteFiles", file});
    EXPECT_EQ(planned.status, 0);
    EXPECT_TRUE(contains(planned.output, "  " + file + "\n  1 item with 1 files and folders, 8.2 KB on disk\n"))
        << planned.output;
    EXPECT_TRUE(exists(file));
    const auto answers = documents(orvane({"--json", "plan", "--all", "forceDeleteFiles", file}).output);
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0]["event"], "item");
    EXPECT_EQ(answers[0]["item"]["path"], file);
    EXPECT_EQ(answers[1]["plan"]["itemCount"], 1);
    EXPECT_EQ(answers[1]["plan"]["tasks"][0]["arguments"][0]["text"], file);
    EXPECT_TRUE(contains(orvane({"plan", "--all", "forceDeleteFiles", file}).output, "  " + file + "\n"));
    EXPECT_EQ(orvane({"run", "--dry-run", "forceDeleteFiles", file}).output, planned.output);
    EXPECT_TRUE(exists(file));
}

TEST_F(TerminalCommand, APlanOfWhatRemovesNothingHasItsCommands) {
    const Ended planned = orvane({"plan", "relaunchDock"});
    EXPECT_EQ(planned.status, 0);
    EXPECT_TRUE(contains(planned.output, "quit application \"Dock\"")) << planned.output;
}

TEST_F(TerminalCommand, ADesktopIsCleanedIntoAFolderThatIsGiven) {
    const Ended ended = orvane({"plan", "cleanDesktop"});
    EXPECT_EQ(ended.status, 64);
    EXPECT_EQ(ended.errors, "orvane: cleanDesktop needs the folder for its archive: --archive FOLDER.\n");
}

TEST_F(TerminalCommand, WhatIsNoTaskIsNotPermittedEither) {
    const Ended ended = orvane({"run", "--yes=nix", "forceDeleteFiles", makeFile("a")});
    EXPECT_EQ(ended.status, 64);
    EXPECT_EQ(ended.errors, "orvane: There is no task nix (`orvane tasks` lists them).\n");
    EXPECT_TRUE(exists(folder() + "/a"));
}

TEST_F(TerminalCommand, ARunRemovesAndIsRecordedWithItsItems) {
    const std::string file = makeFile("a", std::string(5000, 'x'));
    const Ended ran = orvane({"run", "--yes=forceDeleteFiles", "forceDeleteFiles", file});
    EXPECT_EQ(ran.status, 0) << ran.errors;
    EXPECT_TRUE(contains(ran.output, "\nRemoved 1 of 1 item; ")) << ran.output;
    EXPECT_TRUE(ran.output.ends_with("Done.\n")) << ran.output;
    EXPECT_FALSE(exists(file));
    const std::string listed = orvane({"history", "--items"}).output;
    EXPECT_TRUE(contains(listed, "  done  ")) << listed;
    EXPECT_TRUE(contains(listed, "forceDeleteFiles " + file + "\n")) << listed;
    EXPECT_TRUE(contains(listed, "        8.2 KB  " + file + "\n")) << listed;
    EXPECT_TRUE(contains(orvane({"history"}).output, "forceDeleteFiles " + file));
    const Json runs = Json::parse(orvane({"--json", "history"}).output)["runs"];
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0]["outcome"], "done");
    EXPECT_EQ(runs[0]["tasks"][0]["arguments"][0]["text"], file);
}

TEST_F(TerminalCommand, TheFirstThousandItemsAreRecordedAndTheOthersCounted) {
    Strings words = {"run", "--yes=forceDeleteFiles", "forceDeleteFiles"};
    for (int number = 0; number < 1003; ++number) {
        words.push_back(makeFile("f" + std::to_string(number)));
    }
    EXPECT_EQ(orvane(words).status, 0);
    const Json run = Json::parse(orvane({"--json", "history"}).output)["runs"][0];
    EXPECT_EQ(run["items"].size(), 1000U);
    EXPECT_EQ(run["itemsOmitted"], 3);
    EXPECT_TRUE(orvane({"history", "--items"}).output.ends_with("  and 3 more\n"));
}

TEST_F(TerminalCommand, NothingToRemoveRunsNothing) {
    const Strings words = {"run", "--yes=removeDSStoreFilesInPath", "removeDSStoreFilesInPath", folder()};
    EXPECT_TRUE(contains(orvane(words).output, "There is nothing to remove. Nothing was run.\n"));
    Strings json = words;
    json.insert(json.begin(), "--json");
    EXPECT_EQ(documents(orvane(json).output).back()["outcome"], "nothing");
    EXPECT_EQ(orvane({"history"}).output, "Nothing was run yet.\n");
}

TEST_F(TerminalCommand, LargeFilesAreFoundFromTheSizeOnThatIsGiven) {
    makeFile("large", std::string(2000000, 'x'));
    EXPECT_EQ(orvane({"plan", "--size", "many", "findLargeFilesInPath", folder()}).status, 64);
    EXPECT_EQ(orvane({"plan", "--size", "1", "findLargeFilesInPath", folder()}).status, 0);
}

TEST_F(TerminalCommand, AHistoryThatCannotBeWrittenHindersNoRun) {
    ASSERT_NE(makeFile("orvane"), ""); // where its folder should be
    const std::string file = makeFile("a");
    const Ended ran = orvane({"run", "--yes=forceDeleteFiles", "forceDeleteFiles", file});
    EXPECT_EQ(ran.status, 0);
    EXPECT_TRUE(contains(ran.errors, "orvane: The history could not be written (" + folder() + "/orvane/"))
        << ran.errors;
    EXPECT_FALSE(exists(file));
}

TEST_F(TerminalCommand, ATaskThatFailsIsTold) {
    const Ended ran = orvane({"run", "--yes=relaunchDock", "relaunchDock"});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(contains(ran.output, "relaunchDock failed (status 1).\nFailed.\n")) << ran.output;
    const auto events = documents(orvane({"--json", "run", "--yes=relaunchDock", "relaunchDock"}).output);
    EXPECT_EQ(events.back()["outcome"], "failed");
    EXPECT_EQ(events.back()["exitStatus"], 1);
    EXPECT_EQ(Json::parse(orvane({"--json", "history"}).output)["runs"][0]["outcome"], "failed");
}

TEST_F(TerminalCommand, WhatTheFirstTaskDidCountsWhenTheSecondFails) {
    const std::string file = makeFile("a");
    const Ended ran =
        orvane({"run", "--yes=relaunchDock", "--yes=forceDeleteFiles", "relaunchDock", "forceDeleteFiles", file});
    EXPECT_EQ(ran.status, 1);
    EXPECT_TRUE(ran.output.ends_with("Done in part.\n")) << ran.output;
    EXPECT_FALSE(exists(file));
}

TEST_F(TerminalCommand, TheLibrarysMessagesComeOnStandardError) {
    const Ended ran = orvane({"run", "--yes=toggleDashboard", "toggleDashboard"});
    EXPECT_TRUE(contains(ran.errors, "orvane: There are no user defaults")) << ran.errors;
}

// --- history

constexpr const char* kStart =
    R"({"version":1,"event":"start","run":"a","time":5,"pid":1,"tasks":[{"name":"csc","arguments":[]}]})";

TEST_F(TerminalCommand, ARunWithoutAnEndWasKilledAndHasNoItems) {
    writeHistory(std::string(kStart) + "\n");
    const Ended listed = orvane({"history", "--items"});
    EXPECT_EQ(listed.status, 0);
    EXPECT_TRUE(contains(listed.output, "  killed in the middle  ")) << listed.output;
    const Json run = Json::parse(orvane({"--json", "history"}).output)["runs"][0];
    EXPECT_EQ(run["outcome"], "killed");
    EXPECT_TRUE(run["exitStatus"].is_null());
    EXPECT_TRUE(run["items"].empty());
}

TEST_F(TerminalCommand, EachOutcomeHasItsWords) {
    for (const auto& [outcome, words] :
         std::vector<std::pair<std::string, std::string>>{{"done", "done"},
                                                          {"partly", "done in part"},
                                                          {"failed", "failed"},
                                                          {"cancelled", "cancelled"},
                                                          {"timedOut", "timed out"},
                                                          {"interrupted", "cancelled by Ctrl-C"},
                                                          {"abandoned", "not waited for"},
                                                          {"of a newer version", "of a newer version"}}) {
        ::unlink((folder() + "/orvane/history.jsonl").c_str());
        ::mkdir((folder() + "/orvane").c_str(), 0700);
        makeFile("orvane/history.jsonl",
                 std::string(kStart) + "\n" + R"({"version":1,"event":"end","run":"a","time":6,)" +
                     R"("exitStatus":1,"freedBytes":-5,"items":[],"outcome":")" + outcome + "\"}\n");
        const std::string listed = orvane({"history"}).output;
        EXPECT_TRUE(contains(listed, "  " + words + "  ")) << listed;
        EXPECT_EQ(Json::parse(orvane({"--json", "history"}).output)["runs"][0]["outcome"], outcome);
    }
}

TEST_F(TerminalCommand, WhatStayedIsMarkedAmongTheItems) {
    writeHistory(R"({"version":1,"event":"start","run":"a","time":5,"pid":1,)"
                 R"("tasks":[{"name":"csc","arguments":[]},{"name":"feat","arguments":[]}]})"
                 "\n"
                 R"({"version":1,"event":"end","run":"a","time":6,"exitStatus":1,"freedBytes":5,"outcome":"partly",)"
                 R"("items":[{"path":"/a","bytes":7,"outcome":"left"},{"path":"/b","bytes":7,"outcome":"removed"}]})"
                 "\n");
    const std::string listed = orvane({"history", "--items"}).output;
    EXPECT_TRUE(contains(listed, "  csc, feat\n       7 bytes  /a  (stayed)\n       7 bytes  /b\n")) << listed;
    const Json run = Json::parse(orvane({"--json", "history"}).output)["runs"][0];
    EXPECT_TRUE(run["seconds"].is_null());
    EXPECT_EQ(run["itemsOmitted"], 0);
}

TEST_F(TerminalCommand, ARecordThatLacksSomethingIsDamaged) {
    const Json start = Json::parse(kStart);
    const Json end = Json::parse(R"({"version":1,"event":"end","run":"a","time":6,"exitStatus":1,"freedBytes":5,)"
                                 R"("outcome":"done","items":[]})");
    writeHistory("");
    const auto damaged = [&](const Json& record) {
        makeFile("orvane/history.jsonl", start.dump() + "\n" + record.dump() + "\n");
        return orvane({"history"}).errors != "";
    };
    EXPECT_FALSE(damaged(start));
    EXPECT_FALSE(damaged(end));
    EXPECT_TRUE(damaged(Json::array()));
    for (const Json& whole : {start, end}) {
        for (const auto& [key, value] : whole.items()) {
            Json record = whole;
            record.erase(key);
            EXPECT_EQ(damaged(record), key != "version") << record;
            record[key] = nullptr;
            EXPECT_EQ(damaged(record), key != "version") << record;
        }
    }
    Json other = end;
    other["event"] = "pause";
    EXPECT_TRUE(damaged(other));
}

TEST_F(TerminalCommand, DamagedLinesAreCounted) {
    writeHistory(std::string(kStart) + "\nnix\n{\"half\":\n");
    const Ended listed = orvane({"history"});
    EXPECT_EQ(listed.errors,
              "orvane: 2 lines of the history are damaged and were skipped (" + folder() + "/orvane/history.jsonl).\n");
    EXPECT_EQ(Json::parse(orvane({"--json", "history"}).output)["damagedLines"], 2);
}

} // namespace
} // namespace orvane::terminal
