#pragma once

#include "Support/OVTreeWalk.h"
#include "Tasks/OVTaskPlan.h"

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <unistd.h>
#include <unordered_set>
#include <vector>

namespace orvane {

/// A path that was named, and what becomes of it, as far as its name tells.
struct OVPlanName {
    std::string path;
    OVPlanItem::Fate fate = OVPlanItem::Fate::removed;
    std::string becomes = {};
    std::int32_t reason = 0;
    std::size_t tree = 0; ///< its number among the walked ones, if it goes

    [[nodiscard]] bool goes() const {
        return fate == OVPlanItem::Fate::removed || fate == OVPlanItem::Fate::found || fate == OVPlanItem::Fate::moved;
    }
};

/// What a plan finds: the paths that a task's programs are told to remove or move, come to by the same patterns,
/// conditions and programs. What is in them is not looked at.
class OVPlanNames {
  public:
    /// All must live as long as the object. `plan` gets the commands, an error, and whether it is complete.
    OVPlanNames(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                const OVTaskPlan::Options& options, const OVTaskRunnerServices& services, OVTaskPlan& plan)
        : task_(task), arguments_(arguments), options_(options), services_(services), plan_(plan) {}

    /// Fills in `names` and `unreadable`, or the plan's error.
    void find();

    /// One of the plan's walks; false when its progress has ended the plan. `isLooked`: what cannot be looked at is
    /// unreadable, too.
    bool walk(OVTreeWalk& walk, std::vector<OVTreeWalk::Tree>& trees, bool isLooked);
    /// For a walk: counts on from those before.
    std::function<bool(std::uint64_t)> progress();

    [[nodiscard]] bool isOverwritten() const;
    [[nodiscard]] bool isByRoot() const { return isByRoot_; }

    std::vector<OVPlanName> names;    ///< in the order of the programs, none in one that goes
    std::set<std::string> unreadable; ///< folders and files that could not be looked into

  private:
    [[nodiscard]] std::int32_t errorOfArguments() const;
    void take(const OVTaskRemoval& removal);
    void takeShell(const OVTaskRemoval& removal);
    void takeList(const OVTaskRemoval& removal);
    void takeFound(const OVTaskRemoval& removal);
    void takeDamaged(const OVTaskRemoval& removal);
    void takeMoved(const OVTaskRemoval& removal);
    void takeAside(const OVTaskRemoval& removal);
    void takeArrivals();
    void takeStranger(const std::string& word, bool isAfterDashes);
    void dropCovered();

    std::vector<std::string> expand(std::string_view pattern);
    std::vector<std::string> starts(const OVTaskRemoval& removal);
    std::string atHome(std::string_view pattern) const;
    void noteUnsearchable(const std::string& pattern);
    [[nodiscard]] std::string inFolder(const std::string& path) const;
    [[nodiscard]] std::vector<std::string> namePatterns(const OVTaskRemoval& removal) const;
    [[nodiscard]] bool isEmptied(const std::string& path, const OVTaskRemoval& removal, std::int32_t depth) const;
    [[nodiscard]] bool isTooLong(std::string_view pattern, const std::vector<std::string>& paths) const;
    [[nodiscard]] std::string_view searchPath() const;
    void setError(std::int32_t error);

    const OVTaskDescription& task_;
    const std::vector<std::string>& arguments_;
    const OVTaskPlan::Options& options_;
    const OVTaskRunnerServices& services_;
    OVTaskPlan& plan_;

    const bool isRootsCall_ = ::getuid() == 0;                   ///< the tool keeps root's own surroundings
    const bool isByRoot_ = task_.isToolTask || ::geteuid() == 0; ///< what removes does so as root
    std::string workingFolder_;
    std::vector<std::string> list_;         ///< for `xargs`
    std::unordered_set<std::string> aside_; ///< paths that are not there while the removal runs
    std::uint64_t seen_ = 0;                ///< entries of walks that have ended
};

/// The folder that a path's last component lies in; "." for a name.
std::string OVFolderOf(std::string_view path);
/// Whether there is a folder at the path, and no link to one.
bool OVIsFolder(const std::string& path);
/// The names in a folder, sorted; none where it cannot be read.
std::vector<std::string> OVNamesIn(const std::string& folder);

} // namespace orvane
