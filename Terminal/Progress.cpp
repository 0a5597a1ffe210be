#include "Terminal/Progress.h"

#include "Host/OVProcessFamily.h"
#include "Terminal/Interrupts.h"
#include "Terminal/Text.h"
#include "Terminal/Translation.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

using namespace std::chrono_literals;

constexpr auto kTick = 100ms;
constexpr auto kSilence = 2s;
constexpr auto kBetweenEvents = 1s;
/// So many items are looked at ten times a second: few enough to cost nothing, and more than a run leaves behind
/// itself.
constexpr std::size_t kMostAwaited = 1000;
constexpr std::size_t kMostComplaints = 1000;
constexpr std::size_t kMostLastLines = 10;
constexpr std::size_t kLongestLine = 65536;

void keep(std::deque<std::string>& lines, std::string_view line, std::size_t most) {
    lines.emplace_back(line);
    if (lines.size() > most) {
        lines.pop_front();
    }
}

/// "rm: cannot remove '/x': Operation not permitted" and its like.
bool isComplaint(std::string_view line) {
    const std::size_t colon = line.find(": ");
    return colon != std::string_view::npos && line.find('/') != std::string_view::npos &&
           line.substr(0, colon).find(' ') == std::string_view::npos;
}

OVProcessFamily family() {
    OVProcessFamily all(ProcessTable::platform(), ::getpid(), ::getpgrp());
    all.update();
    return all;
}

} // namespace

Progress::Progress(Session& session, std::function<void()> giveUp)
    : session_(session), giveUp_(std::move(giveUp)), formerSink_(OVSetLogSink(this)), isDrawn_(Console::canRedraw()),
      began_(Clock::now()), heard_(began_), told_(began_) {
    session_.console.flush();
    // Signals are for the thread that waits for them.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    thread_ = std::thread([this] { work(); });
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

Progress::~Progress() {
    {
        const std::lock_guard lock(mutex_);
        isEnded_ = true;
    }
    ended_.notify_one();
    thread_.join();
    OVSetLogSink(formerSink_);
    erase();
}

void Progress::look() {
    const std::lock_guard lock(mutex_);
    isLooking_ = true;
}

void Progress::seen(std::uint64_t entries) {
    const std::lock_guard lock(mutex_);
    entries_ = entries;
}

void Progress::run(const Planned::Task& task, bool showsOutput, const FreeSpace& space) {
    const std::lock_guard lock(mutex_);
    isLooking_ = false;
    task_ = nameOf(task.job);
    planned_ = &task;
    task.items.rewind();
    awaited_.clear();
    gone_ = 0;
    entries_ = 0;
    showsOutput_ = showsOutput;
    space_ = &space;
    program_.clear();
    complaints_.clear();
    lastLines_.clear();
    began_ = heard_ = Clock::now();
}

void Progress::received(std::string_view output) {
    const std::lock_guard lock(mutex_);
    heard_ = Clock::now();
    program_.clear();
    while (!output.empty()) {
        const std::size_t end = output.find('\n');
        partOfLine_ += output.substr(0, end);
        if (end == std::string_view::npos && partOfLine_.size() < kLongestLine) {
            return;
        }
        take(partOfLine_);
        partOfLine_.clear();
        output.remove_prefix(end == std::string_view::npos ? output.size() : end + 1);
    }
}

void Progress::finishOutput() {
    const std::lock_guard lock(mutex_);
    if (!partOfLine_.empty()) {
        take(partOfLine_);
        partOfLine_.clear();
    }
}

void Progress::take(std::string_view line) {
    keep(lastLines_, line, kMostLastLines);
    if (isComplaint(line)) {
        keep(complaints_, line, kMostComplaints);
    } else if (line.find('/') != std::string_view::npos) {
        ++entries_; // what -v has `rm` and `srm` say of each
    }
    if (!showsOutput_) {
        return;
    }
    if (session_.json) {
        Json event = {{"event", "output"}, {"task", task_}};
        setBytes(event, "text", line);
        session_.event(event);
        return;
    }
    erase();
    session_.console.print(::isatty(STDOUT_FILENO) == 1 ? shownOutput(line) : line);
    session_.console.flush();
}

void Progress::logMessage(const char* message) {
    const std::lock_guard lock(mutex_);
    erase();
    session_.console.complain(message);
}

void Progress::work() {
    std::unique_lock lock(mutex_);
    while (!ended_.wait_for(lock, kTick, [this] { return isEnded_; })) {
        tick();
        if (Interrupts::count() > 1) {
            erase();
            giveUp_();
        }
    }
}

/// The tool keeps back what some of its programs print until they have ended. The items go in the plan's order, one
/// here and there stays.
void Progress::countWhatIsGone() {
    if (planned_ == nullptr) {
        return;
    }
    std::size_t count = 0;
    do {
        while (awaited_.size() < kMostAwaited) {
            std::optional<ItemList::Item> item = planned_->items.next();
            if (!item) {
                break;
            }
            awaited_.push_back(std::move(*item));
        }
        count = std::erase_if(awaited_, [this](const ItemList::Item& item) {
            struct stat status = {};
            const bool isGone = ::lstat(item.path.c_str(), &status) != 0 && errno == ENOENT;
            gone_ += isGone ? item.entries : 0;
            return isGone;
        });
    } while (count > kMostAwaited / 2);
}

std::uint64_t Progress::done() const {
    return std::min(std::max(entries_, gone_), planned_ != nullptr ? planned_->plan.entries : 0);
}

void Progress::tick() {
    if (!isLooking_) {
        countWhatIsGone();
    }
    const Clock::time_point now = Clock::now();
    const bool isDue = now - told_ >= kBetweenEvents;
    if (isDue) {
        told_ = now;
        freed_ = space_ != nullptr ? space_->freed() : 0;
        if (!isLooking_ && now - heard_ >= kSilence) {
            const OVProcessFamily all = family();
            const ProcessRecord* const youngest = all.youngest();
            program_ = youngest != nullptr && youngest->processID != ::getpid() ? youngest->name : "";
        }
    }
    if (isDrawn_ && (isLooking_ || planned_ != nullptr)) {
        draw(lineNow());
    }
    if (isDue && session_.json && planned_ != nullptr) {
        session_.event({{"event", "progress"},
                        {"task", task_},
                        {"entriesDone", done()},
                        {"entriesPlanned", planned_->plan.entries},
                        {"freedBytes", freed_},
                        {"seconds", secondsSince(began_)},
                        {"program", program_.empty() ? Json() : Json(shown(program_))}});
    }
}

std::uint64_t Progress::secondsSince(Clock::time_point start) const {
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - start).count());
}

std::string Progress::lineNow() const {
    const std::string elapsed = durationText(secondsSince(began_));
    if (isLooking_) {
        return translated("Looking: {} files and folders, {}", entries_, elapsed);
    }
    std::string line = task_;
    if (Interrupts::signal() != 0) {
        line += "  " + translated("stopping (Ctrl-C once more: do not wait)");
    }
    if (planned_ != nullptr && planned_->plan.entries > 0) {
        line += "  " + translated("{} of {}", done(), planned_->plan.entries);
    }
    if (freed_ > 0) {
        line += "  " + translated("{} freed", bytesText(static_cast<std::uint64_t>(freed_)));
    }
    line += "  " + elapsed;
    if (!program_.empty()) {
        line += "  " + translated("{} runs, silent for {}", shown(program_), durationText(secondsSince(heard_)));
    }
    return line;
}

void Progress::draw(const std::string& line) {
    const std::size_t columns = Console::columns(STDERR_FILENO);
    Console::write(STDERR_FILENO, "\r" + cut(line, columns > 1 ? columns - 1 : 1) + "\x1b[K");
    isOnScreen_ = true;
}

void Progress::erase() {
    if (isOnScreen_) {
        Console::write(STDERR_FILENO, "\r\x1b[K");
        isOnScreen_ = false;
    }
}

std::vector<ProcessRecord> Progress::running() {
    std::vector<ProcessRecord> all = family().living();
    all.erase(std::remove_if(all.begin(), all.end(),
                             [](const ProcessRecord& process) { return process.processID == ::getpid(); }),
              all.end());
    return all;
}

} // namespace orvane::terminal
