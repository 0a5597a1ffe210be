#pragma once

#include "Terminal/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane::terminal {

/// The record of what was run: a file with a line for the start and one for the end of every run, readable by the user
/// alone. A line is added by one write; with 5 MB the file becomes "history.1.jsonl", in place of the one before.
class History {
  public:
    static constexpr std::uint64_t kMostBytes = 5000000;

    /// No folder: nothing is kept.
    explicit History(std::optional<std::string> folder, std::uint64_t mostBytes = kMostBytes)
        : folder_(std::move(folder)), mostBytes_(mostBytes) {}
    /// The user's (`UserFolders`).
    static History ofUser();

    /// Adds the record; returns 0 or why it could not be (`errno`).
    [[nodiscard]] int add(const Json& record) const;

    struct Run {
        Json start;
        Json end; ///< null for a run without one: it still runs, or was killed
    };
    struct Content {
        std::vector<Run> runs; ///< the latest first
        std::uint64_t damaged = 0;
    };
    /// At most so many of the latest runs. A line that is no record is counted, and that is all.
    [[nodiscard]] Content read(std::size_t most) const;

    /// "" when nothing is kept.
    [[nodiscard]] std::string path() const { return folder_ ? *folder_ + "/history.jsonl" : std::string(); }

  private:
    [[nodiscard]] std::string olderPath() const { return *folder_ + "/history.1.jsonl"; }

    std::optional<std::string> folder_;
    std::uint64_t mostBytes_;
};

} // namespace orvane::terminal
