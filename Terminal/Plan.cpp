#include "Terminal/Plan.h"

#include "Support/OVFile.h"
#include "Terminal/Commands.h"
#include "Terminal/Interrupts.h"
#include "Terminal/Progress.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

constexpr std::size_t kExamples = 3;

/// What stands before each path in a list.
using Numbers = std::array<std::uint64_t, 5>;

bool goes(const OVPlanItem& item) {
    return item.fate == OVPlanItem::Fate::removed || item.fate == OVPlanItem::Fate::moved ||
           item.fate == OVPlanItem::Fate::found;
}

std::string_view fateName(OVPlanItem::Fate fate) {
    constexpr std::array<std::string_view, 5> names = {"removed", "moved", "kept", "takenApart", "found"};
    return names.at(static_cast<std::size_t>(fate));
}

std::string_view kindName(OVPlanItem::Kind kind) {
    constexpr std::array<std::string_view, 4> names = {"file", "folder", "link", "other"};
    return names.at(static_cast<std::size_t>(kind));
}

/// What a name became, a line each.
std::string piecesOf(std::string_view lines) {
    std::string pieces;
    while (!lines.empty()) {
        const std::size_t end = std::min(lines.find('\n'), lines.size());
        pieces.append(pieces.empty() ? "" : ", ").append(shown(lines.substr(0, end)));
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return pieces;
}

/// The item with what becomes of it, as far as that is not just that it goes.
std::string lineOf(const OVPlanItem& item) {
    std::string line = padded(bytesText(item.bytes), 10, true) + "  " + shown(item.path);
    if (item.kind == OVPlanItem::Kind::folder) {
        line += "/";
    }
    switch (item.fate) {
    case OVPlanItem::Fate::moved:
        return line + "  -> " + shown(item.becomes);
    case OVPlanItem::Fate::kept:
        return line + "  (" +
               (item.reason != 0 ? translated("stays: {}", errorDescription(item.reason)) : translated("stays")) + ")";
    case OVPlanItem::Fate::takenApart:
        return line + "  (" +
               (item.becomes.empty()
                    ? translated("stays: this name will be taken apart")
                    : translated("this name will be taken apart; removed instead: {}", piecesOf(item.becomes))) +
               ")";
    case OVPlanItem::Fate::found:
        return line + "  (" + translated("what is left of a name that is taken apart") + ")";
    case OVPlanItem::Fate::removed:
        break;
    }
    return line;
}

std::string parentOf(const std::string& path) {
    const std::size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

/// False when it could not be kept.
bool note(Planned::Task& task, FreeSpace& space, const OVPlanItem& item) {
    if (!goes(item)) {
        return true;
    }
    task.moves = item.fate == OVPlanItem::Fate::moved;
    struct stat status = {};
    ItemList::Item planned = {item.path, item.bytes, item.entries, 0, 0};
    if (::lstat(item.path.c_str(), &status) == 0) {
        planned.device = status.st_dev;
        planned.number = status.st_ino;
        space.watch(parentOf(item.path), status.st_dev);
    }
    return task.items.add(planned);
}

std::string whyNot(const Job& job, std::int32_t error) {
    return translated("There is no plan for {}: {}.", nameOf(job), errorDescription(error));
}

std::string removalSentence(const OVTaskPlan& plan) {
    return counted(plan.itemCount, "1 item with {1} files and folders, {2} on disk",
                   "{0} items with {1} files and folders, {2} on disk", plan.entries, bytesText(plan.bytes));
}

bool isRefused(const OVPlanItem& item) {
    return item.fate == OVPlanItem::Fate::kept && item.reason != 0;
}

void printWarnings(Console& console, const OVTaskPlan& plan) {
    if (plan.takenApart > 0) {
        console.print("  " + console.styled(Console::Style::yellow,
                                            counted(plan.takenApart,
                                                    "1 name will be taken apart and become something "
                                                    "else.",
                                                    "{} names will be taken apart and become something else.")));
    }
    if (!plan.unreadable.empty()) {
        console.print("  " + console.styled(Console::Style::yellow,
                                            counted(plan.unreadable.size(),
                                                    "1 folder is not readable by you; what is in it will be removed "
                                                    "too.",
                                                    "{} folders are not readable by you; what is in them will be "
                                                    "removed too.")));
    }
}

} // namespace

ItemList::ItemList() : file_(std::tmpfile()) {
    if (file_ == nullptr) {
        throw CommandError(kFailed, translated("No temporary file could be made: {}.", errorDescription(errno)));
    }
}

bool ItemList::add(const Item& item) {
    const Numbers numbers = {item.path.size(), item.bytes, item.entries, static_cast<std::uint64_t>(item.device),
                             static_cast<std::uint64_t>(item.number)};
    return std::fwrite(numbers.data(), sizeof numbers, 1, file_.get()) == 1 &&
           std::fwrite(item.path.data(), 1, item.path.size(), file_.get()) == item.path.size();
}

void ItemList::rewind() const {
    std::rewind(file_.get());
}

std::optional<ItemList::Item> ItemList::next() const {
    Numbers numbers = {};
    if (std::fread(numbers.data(), sizeof numbers, 1, file_.get()) != 1) {
        return std::nullopt;
    }
    Item item = {std::string(static_cast<std::size_t>(numbers[0]), '\0'), numbers[1], numbers[2],
                 static_cast<dev_t>(numbers[3]), static_cast<ino_t>(numbers[4])};
    if (std::fread(item.path.data(), 1, item.path.size(), file_.get()) != item.path.size()) {
        return std::nullopt;
    }
    return item;
}

std::uint64_t Planned::sum(std::uint64_t OVTaskPlan::*count) const {
    std::uint64_t sum = 0;
    for (const Task& task : tasks) {
        sum += task.plan.*count;
    }
    return sum;
}

bool Planned::removes() const {
    return std::any_of(tasks.begin(), tasks.end(), [](const Task& task) { return !task.job.task->removals.empty(); });
}

OVTaskTier Planned::highestTier() const {
    OVTaskTier highest = OVTaskTier::reads;
    for (const Task& task : tasks) {
        highest = std::max(highest, task.job.task->tier);
    }
    return highest;
}

Planned planTasks(Session& session, std::vector<Job> jobs, const PlanChoices& choices,
                  const std::function<void(const OVPlanItem& item)>& eachItem) {
    Planned planned;
    Progress progress(session, [] { ::_exit(kInterrupted); });
    // What is printed meanwhile would stand on the same line.
    if (!eachItem) {
        progress.look();
    }
    struct stat root = {};
    if (::stat("/", &root) == 0) {
        planned.space.watch("/", root.st_dev);
    }
    for (Job& job : jobs) {
        if (job.task->name == "cleanDesktop" && !choices.archive) {
            throw CommandError(kUsage, translated("cleanDesktop needs the folder for its archive: --archive FOLDER."));
        }
        Planned::Task task = {std::move(job), {}, {}, false};
        int error = 0; // nothing may be thrown through the library
        OVTaskPlan::Options options;
        options.archiveDesktopPath = choices.archive;
        options.progress = [&](std::uint64_t entries) {
            progress.seen(entries);
            return Interrupts::signal() == 0 && error == 0;
        };
        options.eachItem = [&](const OVPlanItem& item) {
            if (!note(task, planned.space, item)) {
                error = errno;
            }
            if (eachItem) {
                eachItem(item);
            }
        };
        task.plan = OVTaskPlan::make(*task.job.task, task.job.arguments, options);
        if (error != 0) {
            throw CommandError(kFailed, translated("The plan does not fit the disk: {}.", errorDescription(error)));
        }
        if (Interrupts::signal() != 0) {
            throw CommandError(static_cast<ExitStatus>(Interrupts::exitStatus()), translated("Nothing was run."));
        }
        if (task.plan.error != 0) {
            throw CommandError(kFailed, whyNot(task.job, task.plan.error));
        }
        planned.tasks.push_back(std::move(task));
    }
    return planned;
}

void printPlan(Session& session, const Planned& planned, const PlanChoices& choices) {
    Console& console = session.console;
    for (const Planned::Task& task : planned.tasks) {
        const OVTaskPlan& plan = task.plan;
        console.print(console.styled(Console::Style::bold, nameOf(task.job)) + ": " + translated(task.job.task->does));
        if (task.job.task->removals.empty()) {
            for (const std::string& command : plan.commands) {
                console.print("  " + shownOutput(command));
            }
            continue;
        }
        for (const OVPlanItem& item : plan.items) {
            if (!choices.all) {
                console.print(lineOf(item));
            }
        }
        if (plan.isFolded && !choices.all) {
            console.print("  " + translated("They are shown by folder; --all shows each."));
        }
        console.print("  " + removalSentence(plan));
        printWarnings(console, plan);
        for (const std::string& folder : plan.unreadable) {
            console.print("    " + shown(folder));
        }
    }
}

void printSummary(Session& session, const Planned& planned) {
    Console& console = session.console;
    for (const Planned::Task& task : planned.tasks) {
        const OVTaskPlan& plan = task.plan;
        console.print(console.styled(Console::Style::bold, nameOf(task.job)) + ": " + translated(task.job.task->does));
        if (task.job.task->removals.empty()) {
            continue;
        }
        console.print("  " + removalSentence(plan));
        std::size_t examples = 0;
        for (const OVPlanItem& item : plan.items) {
            if (goes(item) && examples++ < kExamples) {
                console.print("  " + lineOf(item));
            }
        }
        if (plan.itemCount > kExamples) {
            console.print("  " + padded("", 10) + "  " + translated("and {} more", plan.itemCount - kExamples));
        }
        std::size_t refused = 0;
        for (const OVPlanItem& item : plan.items) {
            if (isRefused(item) && refused++ < kExamples) {
                console.print("  " + lineOf(item));
            }
        }
        if (refused > kExamples) {
            console.print("  " + padded("", 10) + "  " + translated("and {} more", refused - kExamples));
        }
        printWarnings(console, plan);
    }
    for (const Planned::Task& task : planned.tasks) {
        if (!task.job.task->undo.empty()) {
            console.print(console.styled(Console::Style::yellow, translated(task.job.task->undo)));
        }
    }
}

Json jsonOf(const OVPlanItem& item) {
    Json value = Json::object();
    setBytes(value, "path", item.path);
    value["kind"] = kindName(item.kind);
    value["fate"] = fateName(item.fate);
    value["bytes"] = item.bytes;
    value["entries"] = item.entries;
    value["modified"] = item.modified;
    if (!item.becomes.empty()) {
        setBytes(value, "becomes", item.becomes);
    }
    if (item.reason != 0) {
        value["reason"] = errorDescription(item.reason);
    }
    return value;
}

Json jsonOf(const Planned& planned) {
    Json tasks = Json::array();
    for (const Planned::Task& task : planned.tasks) {
        const OVTaskPlan& plan = task.plan;
        Json value = {{"name", task.job.task->name},
                      {"arguments", Json::array()},
                      {"tier", tierName(task.job.task->tier)},
                      {"removes", !task.job.task->removals.empty()},
                      {"itemCount", plan.itemCount},
                      {"takenApart", plan.takenApart},
                      {"entries", plan.entries},
                      {"bytes", plan.bytes},
                      {"folded", plan.isFolded},
                      {"commands", Json::array()},
                      {"items", Json::array()},
                      {"unreadable", Json::array()}};
        const auto add = [&value](const char* key, const std::string& bytes) {
            Json entry = Json::object();
            setBytes(entry, "text", bytes);
            value[key].push_back(entry);
        };
        for (const std::string& argument : task.job.arguments) {
            add("arguments", argument);
        }
        for (const std::string& command : plan.commands) {
            add("commands", command);
        }
        for (const std::string& folder : plan.unreadable) {
            add("unreadable", folder);
        }
        for (const OVPlanItem& item : plan.items) {
            value["items"].push_back(jsonOf(item));
        }
        tasks.push_back(value);
    }
    return {{"tasks", tasks},
            {"itemCount", planned.sum(&OVTaskPlan::itemCount)},
            {"entries", planned.sum(&OVTaskPlan::entries)},
            {"bytes", planned.sum(&OVTaskPlan::bytes)}};
}

int planCommand(Session& session, const std::vector<std::string>& words, const PlanChoices& choices) {
    Interrupts::take();
    const auto printEach = [&session](const OVPlanItem& item) { session.console.print(lineOf(item)); };
    const auto tellEach = [&session](const OVPlanItem& item) {
        session.event({{"event", "item"}, {"item", jsonOf(item)}});
    };
    std::function<void(const OVPlanItem&)> each;
    if (choices.all && session.json) {
        each = tellEach;
    } else if (choices.all) {
        each = printEach;
    }
    const Planned planned = planTasks(session, jobsOf(words), choices, each);
    if (session.json) {
        session.answer({{"event", "plan"}, {"plan", jsonOf(planned)}});
    } else {
        printPlan(session, planned, choices);
    }
    return kDone;
}

} // namespace orvane::terminal
