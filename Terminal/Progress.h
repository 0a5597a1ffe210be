#pragma once

#include "Support/OVLog.h"
#include "Terminal/FreeSpace.h"
#include "Terminal/Plan.h"
#include "Terminal/Session.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace orvane::terminal {

/// What is to be seen while something goes on: one line on standard error, drawn over itself ten times a second, where
/// that is a terminal; with `--verbose` a task's output above it; with `--json` an event a second.
///
/// It has a thread of its own, so that the line moves and a second Ctrl-C is heard whatever the other one waits for.
class Progress final : private OVLogSink {
  public:
    /// `giveUp` is called at the second Ctrl-C, on the other thread, and is to end the process.
    Progress(Session& session, std::function<void()> giveUp);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    /// Takes the line away.
    ~Progress();

    /// From here on the line says that plans are made.
    void look();
    void seen(std::uint64_t entries);

    /// From here on it says how far this task is. All must live until the next or the end, and nobody else may read the
    /// items meanwhile.
    void run(const Planned::Task& task, bool showsOutput, const FreeSpace& space);
    /// A piece of the task's output, cut anywhere.
    void received(std::string_view output);
    /// Ends the task's output.
    void finishOutput();

    /// Messages among the latest output: lines that programs print about what they could not do.
    [[nodiscard]] const std::deque<std::string>& complaints() const { return complaints_; }
    /// The last lines of all.
    [[nodiscard]] const std::deque<std::string>& lastLines() const { return lastLines_; }

    /// The task's programs that run now: all that descend from this process.
    static std::vector<ProcessRecord> running();

  private:
    using Clock = std::chrono::steady_clock;

    void logMessage(const char* message) override;
    void work();
    void tick();
    void draw(const std::string& line);
    void erase();
    void take(std::string_view line);
    void countWhatIsGone();
    [[nodiscard]] std::string lineNow() const;
    /// Files and folders that are done, as far as that is known.
    [[nodiscard]] std::uint64_t done() const;
    [[nodiscard]] std::uint64_t secondsSince(Clock::time_point start) const;

    Session& session_;
    std::function<void()> giveUp_;
    OVLogSink* const formerSink_;
    const bool isDrawn_;

    std::mutex mutex_; ///< around all below
    std::condition_variable ended_;
    bool isEnded_ = false;
    bool isLooking_ = false;
    bool isOnScreen_ = false;
    bool showsOutput_ = false;
    std::string task_;
    std::uint64_t entries_ = 0;
    const Planned::Task* planned_ = nullptr;
    std::vector<ItemList::Item> awaited_; ///< the next of the planned items that were there at the last look
    std::uint64_t gone_ = 0;              ///< files and folders in those that were not
    const FreeSpace* space_ = nullptr;
    std::int64_t freed_ = 0;
    std::string program_; ///< that runs while nothing is heard
    Clock::time_point began_;
    Clock::time_point heard_;
    Clock::time_point told_;
    std::string partOfLine_;
    std::deque<std::string> complaints_;
    std::deque<std::string> lastLines_;
    std::thread thread_;
};

} // namespace orvane::terminal
