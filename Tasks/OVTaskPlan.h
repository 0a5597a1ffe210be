#pragma once

#include "Tasks/OVTaskCatalogue.h"
#include "Tasks/OVTaskRunner.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace orvane {

/// One path that a task's programs are told to remove or move.
struct OVPlanItem {
    enum class Kind : std::uint8_t { file, folder, link, other };
    enum class Fate : std::uint8_t {
        removed,    ///< with all that is in it
        moved,      ///< to `becomes`
        kept,       ///< the programs leave it: it is not named to them, or they may not (`reason`)
        takenApart, ///< `xargs` makes something else of the name: `becomes`, or nothing when that is empty
        found,      ///< named by no item of the list: what is left of a name that was taken apart
    };
    std::string path;
    Kind kind = Kind::file;
    Fate fate = Fate::removed;
    std::uint64_t bytes = 0;   ///< on disk, that are free afterwards: 0 of what moves
    std::uint64_t entries = 1; ///< files and folders, itself included
    std::int64_t modified = 0; ///< the last change, in seconds since 1970
    std::string becomes;       ///< of what is taken apart a line for each piece
    std::int32_t reason = 0;   ///< error number for what is kept; 0 when it is not there for a reason of its own
};

/// What a task will do, found by the same patterns, conditions and programs as it will be done; nothing is changed.
///
/// While it is made, all paths that were named are in memory, as `glob` gives them and as the run itself will hold
/// them: about 240 bytes each. What lies in them is not, but for an entry for each file with several links. Made, it
/// holds no more items than `foldAbove`, and those whose names are taken apart.
class OVTaskPlan {
  public:
    struct Options {
        std::size_t foldAbove = 10000; ///< with more items, those of one folder become one
        /// Told now and then, and at the end of each walk, how many entries were seen; false ends the plan, which is
        /// then incomplete.
        std::function<bool(std::uint64_t entries)> progress;
        /// Gets every item, before anything is folded together.
        std::function<void(const OVPlanItem& item)> eachItem;
        std::optional<std::string> archiveDesktopPath; ///< for what asks its owner
    };

    /// The plan for running the task now, with these arguments, in this process or by the tool.
    static OVTaskPlan make(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                           const Options& options, const OVTaskRunnerServices& services = {});
    static OVTaskPlan make(const OVTaskDescription& task, const std::vector<std::string>& arguments) {
        return make(task, arguments, Options());
    }

    std::vector<OVPlanItem> items;     ///< in the order of the programs, folded by folder beyond `foldAbove`
    std::vector<std::string> commands; ///< the exact lines and programs with their words, in order
    /// Folders that could not be looked into, and files that had to be read and could not: what the task does there is
    /// not counted.
    std::vector<std::string> unreadable;
    std::uint64_t itemCount = 0;  ///< before folding: that are removed or moved
    std::uint64_t takenApart = 0; ///< names that become something else
    std::uint64_t entries = 0;    ///< files and folders that go
    std::uint64_t bytes = 0;      ///< that are free afterwards
    bool isFolded = false;
    bool isComplete = true; ///< false: ended by `progress`
    std::int32_t error = 0; ///< why there is no plan (a bad argument, a program that could not be run)
};

} // namespace orvane
