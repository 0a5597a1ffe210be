// `orvane run`: plan, question, run, result.

#include "Support/OVFile.h"
#include "Terminal/Commands.h"
#include "Terminal/History.h"
#include "Terminal/Interrupts.h"
#include "Terminal/OwnTasks.h"
#include "Terminal/Progress.h"
#include "Terminal/Question.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <fmt/format.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t kMostShown = 20;
constexpr std::size_t kMostRecorded = 1000;
/// Below this a difference between plan and result is not worth a line.
constexpr std::int64_t kSmallDifference = 65536;

enum class Outcome { done, partly, failed, cancelled, timedOut, interrupted, abandoned };

std::string_view outcomeName(Outcome outcome) {
    switch (outcome) {
    case Outcome::done:
        return "done";
    case Outcome::partly:
        return "partly";
    case Outcome::failed:
        return "failed";
    case Outcome::cancelled:
        return "cancelled";
    case Outcome::timedOut:
        return "timedOut";
    case Outcome::interrupted:
        return "interrupted";
    case Outcome::abandoned:
        return "abandoned";
    }
    return "";
}

/// Whether the run is to end before its tasks have.
struct Stop {
    std::optional<Clock::time_point> deadline;

    [[nodiscard]] bool timedOut() const { return deadline && Clock::now() >= *deadline; }
    [[nodiscard]] bool isWanted() const { return Interrupts::signal() != 0 || timedOut(); }
};

/// An item that is still there.
struct Left {
    std::string path;
    std::string reason; ///< "" for one that was not come to
};

struct Result {
    std::uint64_t removed = 0;
    std::uint64_t left = 0;
    std::vector<Left> shownLeft; ///< the first of them
    std::int64_t freed = 0;
    std::vector<std::string> failedTasks; ///< sentences
    std::vector<ProcessRecord> running;
    bool wasStopped = false; ///< before all tasks were through
    bool timedOut = false;
    std::size_t tasksRun = 0;
    std::size_t tasksDone = 0; ///< without a failure, nothing of theirs left
    Json items = Json::array();
    std::uint64_t itemsOmitted = 0;
    std::chrono::milliseconds duration = {};

    [[nodiscard]] Outcome outcome() const {
        if (wasStopped) {
            return timedOut ? Outcome::timedOut : Interrupts::signal() != 0 ? Outcome::interrupted : Outcome::cancelled;
        }
        if (!failedTasks.empty() || left > 0) {
            return removed > 0 || tasksDone > 0 ? Outcome::partly : Outcome::failed;
        }
        return Outcome::done;
    }
    [[nodiscard]] int exitStatus() const {
        switch (outcome()) {
        case Outcome::done:
            return kDone;
        case Outcome::timedOut:
            return kTimedOut;
        case Outcome::interrupted:
        case Outcome::abandoned:
            return Interrupts::exitStatus();
        case Outcome::cancelled:
            return kCancelled;
        default:
            return kFailed;
        }
    }
};

// --- asking

bool isPermitted(const OVTaskDescription& task, const std::vector<std::string>& yes) {
    return std::any_of(yes.begin(), yes.end(), [&task](const std::string& word) {
        return word == kYesToAll ? task.tier <= OVTaskTier::rebuilds : word == task.name;
    });
}

std::string questionFor(const Planned& planned) {
    if (!planned.removes()) {
        return translated("Go on?");
    }
    const std::uint64_t apart = planned.sum(&OVTaskPlan::takenApart);
    return counted(planned.sum(&OVTaskPlan::itemCount), "Remove 1 item, {1} on disk?", "Remove {0} items, {1} on disk?",
                   bytesText(planned.sum(&OVTaskPlan::bytes))) +
           (apart == 0 ? std::string()
                       : " " + counted(apart, "(1 name will be taken apart)", "({} names will be taken apart)"));
}

/// Throws when nothing may be run.
void ask(const Planned& planned, const std::vector<std::string>& yes) {
    const bool permitted = std::all_of(planned.tasks.begin(), planned.tasks.end(),
                                       [&yes](const Planned::Task& task) { return isPermitted(*task.job.task, yes); });
    if (permitted) {
        return;
    }
    if (!Console::canAsk()) {
        throw CommandError(kUsage, translated("Nothing was run: there is no terminal to ask on. --yes runs what reads "
                                              "and rebuilds, --yes=TASK that task."));
    }
    Answer answer = Answer::yes;
    if (planned.highestTier() == OVTaskTier::forGood) {
        std::string names;
        for (const Planned::Task& task : planned.tasks) {
            if (task.job.task->tier == OVTaskTier::forGood) {
                names.append(names.empty() ? "" : " ").append(task.job.task->name);
            }
        }
        answer = askForText(translated("This is for good. Type {} to go on:", names), names);
    } else if (planned.highestTier() != OVTaskTier::reads) {
        answer = askYesOrNo(questionFor(planned));
    }
    if (answer == Answer::interrupted) {
        throw CommandError(static_cast<ExitStatus>(Interrupts::exitStatus()), translated("Nothing was run."));
    }
    if (answer == Answer::no) {
        throw CommandError(kCancelled, translated("Nothing was run."));
    }
}

// --- running

class Owner final : public OVTaskDelegate, public OVToolClientDelegate {
  public:
    Owner(Progress& progress, const Stop& stop, const Job& job, const PlanChoices& choices)
        : progress_(progress), stop_(stop), job_(job), choices_(choices) {}

    [[nodiscard]] bool wasStopped() const { return wasStopped_; }
    [[nodiscard]] bool timedOut() const { return timedOut_; }

    void taskWillBegin(OVTask* /*task*/) override {}
    void task(OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}
    void hasOutputAvailable(std::optional<std::string_view> output) override {
        progress_.received(output.value_or(""));
    }
    bool shouldCancel() override { return toolShouldCancel(); }
    std::optional<std::string> archiveDesktopPath() override { return choices_.archive; }
    std::uint64_t largeFilesSize() override { return choices_.megabytes; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                                          bool /*allowsMultipleSelection*/) override {
        return job_.arguments.empty() ? std::nullopt : std::optional(job_.arguments);
    }

    void toolHasOutputAvailable(std::string_view bytes) override { progress_.received(bytes); }
    bool toolShouldCancel() override {
        if (!wasStopped_ && stop_.isWanted()) {
            wasStopped_ = true;
            timedOut_ = Interrupts::signal() == 0;
        }
        return wasStopped_;
    }

  private:
    Progress& progress_;
    const Stop& stop_;
    const Job& job_;
    const PlanChoices& choices_;
    bool wasStopped_ = false;
    bool timedOut_ = false;
};

std::string statusSentence(const Job& job, std::int32_t status, std::int32_t error) {
    if (status < 0) {
        return translated("{} could not be started: {}.", nameOf(job), errorDescription(error));
    }
    return translated("{} failed (status {}).", nameOf(job), status);
}

/// What a program said of the path; "" when none did.
std::string reasonFor(const std::string& path, const std::deque<std::string>& complaints) {
    for (const std::string& line : complaints) {
        if (line.find(path) != std::string::npos) {
            return line.substr(line.rfind(": ") + 2);
        }
    }
    return {};
}

/// A run of all tasks of a plan.
class Run {
  public:
    Run(Session& session, const Planned& planned, const RunChoices& choices)
        : session_(session), planned_(planned), choices_(choices), history_(History::ofUser()),
          id_(fmt::format("{:x}-{}", std::time(nullptr), ::getpid())) {}

    int perform();

  private:
    void runTask(const Planned::Task& task);
    void check(const Planned::Task& task, bool wasRun, const std::deque<std::string>& complaints);
    void recordItem(const std::string& path, std::uint64_t bytes, std::string_view outcome);
    void record(const Json& members);
    void begin();
    void tell();
    void tellDifference() const;
    [[noreturn]] void giveUp();
    [[nodiscard]] Json jsonOfResult(std::string_view outcome, int exitStatus) const;
    [[nodiscard]] std::string runningText(const std::vector<ProcessRecord>& processes) const;

    Session& session_;
    const Planned& planned_;
    const RunChoices& choices_;
    const History history_;
    const std::string id_;
    FreeSpace space_;
    Stop stop_;
    Result result_;
    Clock::time_point began_;
};

void Run::record(const Json& members) {
    Json whole = {{"version", kSchemaVersion}};
    whole.update(members);
    whole["run"] = id_;
    whole["time"] = static_cast<std::int64_t>(std::time(nullptr));
    if (const int error = history_.add(whole)) {
        session_.console.complain(
            translated("The history could not be written ({}): {}.", shown(history_.path()), errorDescription(error)));
    }
}

void Run::begin() {
    Json tasks = Json::array();
    for (const Planned::Task& task : planned_.tasks) {
        Json entry = {{"name", task.job.task->name}, {"arguments", Json::array()}};
        for (const std::string& argument : task.job.arguments) {
            Json value = Json::object();
            setBytes(value, "text", argument);
            entry["arguments"].push_back(value);
        }
        tasks.push_back(entry);
    }
    const auto processes = ProcessTable::platform().processes();
    std::uint64_t started = 0;
    for (const ProcessRecord& process : processes.value_or(std::vector<ProcessRecord>())) {
        started = process.processID == ::getpid() ? process.started : started;
    }
    record({{"event", "start"},
            {"pid", ::getpid()},
            {"processStarted", started},
            {"tasks", tasks},
            {"plannedItems", planned_.sum(&OVTaskPlan::itemCount)},
            {"plannedBytes", planned_.sum(&OVTaskPlan::bytes)}});
    if (session_.json) {
        session_.event({{"event", "start"}, {"run", id_}, {"tasks", tasks}});
    }
}

std::string Run::runningText(const std::vector<ProcessRecord>& processes) const {
    std::string text;
    for (const ProcessRecord& process : processes) {
        text += fmt::format("{}{} ({})", text.empty() ? "" : ", ", shown(process.name), process.processID);
    }
    return text;
}

/// The owner does not want to wait for a cancel.
void Run::giveUp() {
    const std::vector<ProcessRecord> running = Progress::running();
    result_.running = running;
    result_.freed = space_.freed();
    result_.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began_);
    Json end = jsonOfResult(outcomeName(Outcome::abandoned), kInterrupted);
    if (session_.json) {
        session_.event(end);
    }
    session_.console.complain(
        running.empty() ? translated("Not waited for any more; nothing of it keeps running.")
                        : translated("Not waited for any more. This keeps running: {}.", runningText(running)));
    end["event"] = "end";
    record(end);
    ::_exit(kInterrupted);
}

void Run::runTask(const Planned::Task& task) {
    const Job& job = task.job;
    std::deque<std::string> complaints;
    const std::uint64_t leftBefore = result_.left;
    bool hasFailed = false;
    {
        Progress progress(session_, [this] { giveUp(); });
        const bool showsOutput = session_.verbose || job.task->tier == OVTaskTier::reads;
        progress.run(task, showsOutput, space_);
        const auto owner = std::make_shared<Owner>(progress, stop_, job, choices_.plan);
        std::int32_t status = 0;
        std::int32_t error = 0;
        std::string refusal;
        if (job.task->isToolTask) {
            OVToolClient client = session_.client();
            const std::optional<std::string> argument =
                job.arguments.empty() ? std::nullopt : std::optional(job.arguments.front());
            const OVToolClient::Result end = client.run(job.task->name, argument, owner.get());
            status = end.status;
            error = end.error;
            result_.running = end.leftRunning;
        } else {
            OVTaskRunner runner;
            runner.setDelegate(owner);
            try {
                status = runOwnTask(runner, job);
            } catch (const CommandError& refused) {
                status = kTaskFailure; // the run goes on, and is recorded to its end
                refusal = refused.what();
            }
            runner.setDelegate(nullptr); // the runner's end releases nothing
        }
        progress.finishOutput();
        ++result_.tasksRun;
        // The library's word for a no to a question of its own, and for a command that a signal has ended.
        const bool isCancelled = !job.task->isToolTask && status == kTaskCancelled;
        result_.wasStopped = owner->wasStopped() || isCancelled;
        result_.timedOut = owner->timedOut();
        complaints = progress.complaints();
        hasFailed = status != 0;
        if (hasFailed && !result_.wasStopped) {
            result_.failedTasks.push_back(refusal.empty() ? statusSentence(job, status, error) : refusal);
            if (!showsOutput) {
                for (const std::string& line : progress.lastLines()) {
                    result_.failedTasks.push_back("  " + shown(line));
                }
            }
        }
    }
    check(task, true, complaints);
    result_.tasksDone += !hasFailed && result_.left == leftBefore ? 1 : 0;
}

void Run::recordItem(const std::string& path, std::uint64_t bytes, std::string_view outcome) {
    if (result_.items.size() >= kMostRecorded) {
        ++result_.itemsOmitted;
        return;
    }
    Json item = Json::object();
    setBytes(item, "path", path);
    item["bytes"] = bytes;
    item["outcome"] = outcome;
    result_.items.push_back(item);
}

/// Which of the planned items are still there, and why.
void Run::check(const Planned::Task& task, bool wasRun, const std::deque<std::string>& complaints) {
    task.items.rewind();
    while (const std::optional<ItemList::Item> item = task.items.next()) {
        struct stat status = {};
        const bool isThere =
            ::lstat(item->path.c_str(), &status) == 0 && status.st_dev == item->device && status.st_ino == item->number;
        if (!isThere) {
            ++result_.removed;
            recordItem(item->path, item->bytes, "removed");
            continue;
        }
        ++result_.left;
        recordItem(item->path, item->bytes, "left");
        if (result_.shownLeft.size() < kMostShown) {
            std::string reason = reasonFor(item->path, complaints);
            if (reason.empty() && wasRun && !result_.wasStopped) {
                reason = translated("no program said why");
            }
            result_.shownLeft.push_back({item->path, reason});
        }
    }
}

Json Run::jsonOfResult(std::string_view outcome, int exitStatus) const {
    Json left = Json::array();
    for (const Left& item : result_.shownLeft) {
        Json entry = Json::object();
        setBytes(entry, "path", item.path);
        entry["reason"] = item.reason.empty() ? Json() : Json(shown(item.reason));
        left.push_back(entry);
    }
    Json running = Json::array();
    for (const ProcessRecord& process : result_.running) {
        running.push_back({{"pid", process.processID}, {"name", shown(process.name)}});
    }
    return {{"event", "result"},
            {"run", id_},
            {"outcome", outcome},
            {"exitStatus", exitStatus},
            {"removedItems", result_.removed},
            {"leftItems", result_.left},
            {"left", left},
            {"freedBytes", result_.freed},
            {"plannedBytes", planned_.sum(&OVTaskPlan::bytes)},
            {"seconds", static_cast<double>(result_.duration.count()) / 1000},
            {"messages", result_.failedTasks},
            {"stillRunning", running},
            {"items", result_.items},
            {"itemsOmitted", result_.itemsOmitted}};
}

void Run::tellDifference() const {
    const auto planned = static_cast<std::int64_t>(planned_.sum(&OVTaskPlan::bytes));
    const std::int64_t difference = result_.freed - planned;
    if (std::abs(difference) <= std::max(kSmallDifference, planned / 100)) {
        return;
    }
    std::string why;
    if (difference < 0 && result_.left > 0) {
        why = translated("less than planned, because items are still there.");
    } else if (difference < 0) {
        why = translated("less than planned: other programs wrote meanwhile, or still hold what was removed open.");
    } else {
        why = translated("more than planned: other programs removed something meanwhile.");
    }
    session_.console.print(translated("Planned were {}; {}", bytesText(static_cast<std::uint64_t>(planned)), why));
}

void Run::tell() {
    Console& console = session_.console;
    const auto seconds = static_cast<std::uint64_t>(result_.duration.count() / 1000);
    if (planned_.removes()) {
        const std::uint64_t freed = result_.freed > 0 ? static_cast<std::uint64_t>(result_.freed) : 0;
        const std::uint64_t planned = result_.removed + result_.left;
        const bool moves = std::any_of(planned_.tasks.begin(), planned_.tasks.end(),
                                       [](const Planned::Task& task) { return task.moves; });
        console.print(moves ? counted(planned, "Moved {1} of 1 item, in {3}.", "Moved {1} of {0} items, in {3}.",
                                      result_.removed, bytesText(freed), durationText(seconds))
                            : counted(planned, "Removed {1} of 1 item; {2} became free, in {3}.",
                                      "Removed {1} of {0} items; {2} became free, in {3}.", result_.removed,
                                      bytesText(freed), durationText(seconds)));
        if (!moves) {
            tellDifference();
        }
    }
    if (result_.left > 0) {
        console.print(counted(result_.left, "1 item is still there:", "{} items are still there:"));
        for (const Left& item : result_.shownLeft) {
            console.print("  " + shown(item.path) + (item.reason.empty() ? "" : ": " + shown(item.reason)));
        }
        if (result_.left > result_.shownLeft.size()) {
            console.print("  " + translated("and {} more", result_.left - result_.shownLeft.size()));
        }
    }
    for (const std::string& message : result_.failedTasks) {
        console.print(message);
    }
    if (result_.tasksRun < planned_.tasks.size()) {
        std::string names;
        for (std::size_t i = result_.tasksRun; i < planned_.tasks.size(); ++i) {
            names += (names.empty() ? "" : ", ") + nameOf(planned_.tasks[i].job);
        }
        console.print(translated("Not begun: {}.", names));
    }
    if (!result_.running.empty()) {
        console.print(translated("This could not be stopped and keeps running: {}.", runningText(result_.running)));
    }
    switch (result_.outcome()) {
    case Outcome::done:
        console.print(console.styled(Console::Style::green, planned_.removes()
                                                                ? translated("Done.")
                                                                : translated("Done, in {}.", durationText(seconds))));
        break;
    case Outcome::partly:
        console.print(console.styled(Console::Style::red, translated("Done in part.")));
        break;
    case Outcome::failed:
        console.print(console.styled(Console::Style::red, translated("Failed.")));
        break;
    case Outcome::timedOut:
        console.print(console.styled(Console::Style::red, translated("Stopped: the time was up.")));
        break;
    default:
        console.print(console.styled(Console::Style::red, translated("Cancelled.")));
        break;
    }
}

int Run::perform() {
    space_ = planned_.space;
    space_.start();
    began_ = Clock::now();
    if (choices_.timeout) {
        stop_.deadline = began_ + *choices_.timeout;
    }
    begin();
    for (const Planned::Task& task : planned_.tasks) {
        if (!result_.wasStopped) {
            runTask(task);
        } else {
            check(task, false, {});
        }
    }
    result_.freed = space_.freed();
    result_.duration = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - began_);
    Json end = jsonOfResult(outcomeName(result_.outcome()), result_.exitStatus());
    if (session_.json) {
        session_.event(end);
    } else {
        tell();
    }
    end["event"] = "end";
    record(end);
    return result_.exitStatus();
}

void needTool(Session& session, const std::vector<Job>& jobs) {
    if (std::none_of(jobs.begin(), jobs.end(), [](const Job& job) { return job.task->isToolTask; })) {
        return;
    }
    const OVToolClient client = session.client();
    const OVToolClient::State state = Session::stateOf(client);
    if (state == OVToolClient::State::notSetUp) {
        throw CommandError(kNotPermitted, stateSentence(client, state) + " " +
                                              translated("`orvane setup` sets it up, or: {}", client.setUpCommand()));
    }
    if (state == OVToolClient::State::missing || state == OVToolClient::State::ignoredSetUID) {
        throw CommandError(kNotPermitted, stateSentence(client, state));
    }
    if (state == OVToolClient::State::older) {
        session.console.complain(stateSentence(client, state) + " " +
                                 translated("It may do other things than are planned here; `orvane setup` replaces "
                                            "it."));
    }
}

bool isEmpty(const Planned& planned) {
    return std::all_of(planned.tasks.begin(), planned.tasks.end(), [](const Planned::Task& task) {
        return !task.job.task->removals.empty() && task.plan.itemCount == 0 && task.plan.takenApart == 0 &&
               task.plan.unreadable.empty();
    });
}

} // namespace

int runCommand(Session& session, const std::vector<std::string>& words, const RunChoices& choices) {
    std::vector<Job> jobs = jobsOf(words);
    needTool(session, jobs);
    for (const std::string& name : choices.yes) {
        if (name != kYesToAll && OVTaskNamed(name) == nullptr) {
            throw CommandError(kUsage, translated("There is no task {} (`orvane tasks` lists them).", shown(name)));
        }
    }
    Interrupts::take();
    const Planned planned = planTasks(session, std::move(jobs), choices.plan);
    if (session.json) {
        session.event({{"event", "plan"}, {"plan", jsonOf(planned)}});
    } else {
        printSummary(session, planned);
        session.console.flush();
    }
    if (isEmpty(planned)) {
        if (session.json) {
            session.event({{"event", "result"}, {"outcome", "nothing"}, {"exitStatus", kDone}});
        } else {
            session.console.print(translated("There is nothing to remove. Nothing was run."));
        }
        return kDone;
    }
    ask(planned, choices.yes);
    return Run(session, planned, choices).perform();
}

} // namespace orvane::terminal
