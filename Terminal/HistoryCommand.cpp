// `orvane history`.

#include "Platform/ProcessTable.h"
#include "Terminal/Commands.h"
#include "Terminal/History.h"
#include "Terminal/Table.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <cstdint>

namespace orvane::terminal {

namespace {

/// Whether the process that began the run is still there.
bool stillRuns(const Json& start, const std::vector<ProcessRecord>& processes) {
    return std::any_of(processes.begin(), processes.end(), [&start](const ProcessRecord& process) {
        return process.processID == start.value("pid", 0) &&
               process.started == start.value("processStarted", std::uint64_t{0});
    });
}

std::string outcomeOf(const History::Run& run, const std::vector<ProcessRecord>& processes) {
    if (run.end.is_null()) {
        return stillRuns(run.start, processes) ? "running" : "killed";
    }
    return run.end.value("outcome", std::string());
}

std::string inWords(const std::string& outcome) {
    struct Words {
        std::string_view outcome;
        std::string text;
    };
    const std::vector<Words> all = {{"done", translated("done")},
                                    {"partly", translated("done in part")},
                                    {"failed", translated("failed")},
                                    {"cancelled", translated("cancelled")},
                                    {"timedOut", translated("timed out")},
                                    {"interrupted", translated("cancelled by Ctrl-C")},
                                    {"abandoned", translated("not waited for")},
                                    {"running", translated("is running")},
                                    {"killed", translated("killed in the middle")}};
    const auto found =
        std::find_if(all.begin(), all.end(), [&outcome](const Words& words) { return words.outcome == outcome; });
    return found == all.end() ? shown(outcome) : found->text;
}

std::string tasksOf(const Json& start) {
    std::string names;
    for (const Json& task : start["tasks"]) {
        names += (names.empty() ? "" : ", ") + shown(task.value("name", std::string()));
        for (const Json& argument : task.value("arguments", Json::array())) {
            names += " " + shown(bytesOf(argument, "text"));
        }
    }
    return names;
}

Json jsonOf(const History::Run& run, const std::string& outcome) {
    const bool hasEnd = !run.end.is_null();
    return {{"run", run.start["run"]},
            {"started", timestamp(run.start.value("time", std::int64_t{0}))},
            {"tasks", run.start["tasks"]},
            {"outcome", outcome},
            {"exitStatus", hasEnd ? run.end["exitStatus"] : Json()},
            {"freedBytes", hasEnd ? run.end["freedBytes"] : Json()},
            {"seconds", hasEnd ? run.end.value("seconds", Json()) : Json()},
            {"items", hasEnd ? run.end["items"] : Json::array()},
            {"itemsOmitted", hasEnd ? run.end.value("itemsOmitted", Json(0)) : Json(0)}};
}

void printItems(Console& console, const Json& end) {
    if (end.is_null()) {
        return;
    }
    for (const Json& item : end["items"]) {
        console.print(padded(bytesText(item.value("bytes", std::uint64_t{0})), 14, true) + "  " +
                      shown(bytesOf(item, "path")) +
                      (item.value("outcome", std::string()) == "left" ? "  (" + translated("stayed") + ")" : ""));
    }
    if (const std::uint64_t omitted = end.value("itemsOmitted", std::uint64_t{0}); omitted > 0) {
        console.print(padded("", 14) + "  " + translated("and {} more", omitted));
    }
}

} // namespace

int showHistory(Session& session, std::size_t most, bool items) {
    const History history = History::ofUser();
    const History::Content content = history.read(most);
    std::vector<ProcessRecord> processes;
    if (std::any_of(content.runs.begin(), content.runs.end(), [](const auto& run) { return run.end.is_null(); })) {
        processes = ProcessTable::platform().processes().value_or(processes);
    }
    if (session.json) {
        Json runs = Json::array();
        for (const History::Run& run : content.runs) {
            runs.push_back(jsonOf(run, outcomeOf(run, processes)));
        }
        session.answer({{"runs", runs}, {"damagedLines", content.damaged}});
        return kDone;
    }
    Console& console = session.console;
    Table table(
        {{translated("When")}, {translated("How it ended")}, {translated("Freed"), true}, {translated("What")}});
    for (const History::Run& run : content.runs) {
        const std::int64_t freed = run.end.is_null() ? 0 : run.end.value("freedBytes", std::int64_t{0});
        const std::vector<std::string> cells = {
            timeText(run.start.value("time", std::int64_t{0})), inWords(outcomeOf(run, processes)),
            bytesText(static_cast<std::uint64_t>(std::max<std::int64_t>(freed, 0))), tasksOf(run.start)};
        if (items) {
            console.print(console.styled(Console::Style::bold, cells[0]) + "  " + cells[1] + "  " + cells[2] + "  " +
                          cells[3]);
            printItems(console, run.end);
        } else {
            table.add(cells);
        }
    }
    if (content.runs.empty()) {
        console.print(translated("Nothing was run yet."));
    } else if (!items) {
        for (const std::string& line : table.lines(Console::columns())) {
            console.print(line);
        }
    }
    if (content.damaged > 0) {
        console.complain(counted(content.damaged, "1 line of the history is damaged and was skipped ({1}).",
                                 "{0} lines of the history are damaged and were skipped ({1}).",
                                 shown(history.path())));
    }
    return kDone;
}

} // namespace orvane::terminal
