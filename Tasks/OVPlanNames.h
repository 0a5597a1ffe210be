#pragma once

#include "Support/OVTreeWalk.h"
#include "Tasks/OVTaskPlan.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <unistd.h>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orvane {

/// A path that was named, and what becomes of it, as far as its name tells. There may be millions: what few of them
/// have is not kept in each.
struct OVPlanName {
    explicit OVPlanName(std::string path, OVPlanItem::Fate itsFate = OVPlanItem::Fate::removed,
                        std::int32_t itsReason = 0, std::string itBecomes = {})
        : tree{.path = std::move(path)}, fate(itsFate), reason(itsReason) {
        become(std::move(itBecomes));
    }

    OVTreeWalk::Tree tree; ///< the path, and what is there once it was walked
    OVPlanItem::Fate fate;
    std::int32_t reason;

    [[nodiscard]] std::string becomes() const { return becomes_ ? *becomes_ : std::string(); }
    void become(std::string text) {
        becomes_ = text.empty() ? nullptr : std::make_unique<std::string>(std::move(text));
    }

    [[nodiscard]] bool goes() const {
        return fate == OVPlanItem::Fate::removed || fate == OVPlanItem::Fate::found || fate == OVPlanItem::Fate::moved;
    }

  private:
    std::unique_ptr<std::string> becomes_;
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

    /// Walks what goes of the names; false when the plan's progress has ended it.
    bool walk(OVTreeWalk& walk);
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
    void look(OVTreeWalk& walk, std::vector<std::string> paths);
    void end(const OVTreeWalk& walk, bool isWhole);
    void dropCovered();

    std::vector<std::string> expand(std::string_view pattern);
    std::vector<std::string> starts(const OVTaskRemoval& removal);
    std::string atHome(std::string_view pattern) const;
    bool isThere(const std::string& path);
    void noteUnseen(const OVTreeWalk::Tree& tree);
    void noteUnsearchable(const std::string& pattern);
    [[nodiscard]] std::string inFolder(std::string path) const;
    [[nodiscard]] std::vector<std::string> namePatterns(const OVTaskRemoval& removal) const;
    bool isEmptied(const std::string& path, const OVTaskRemoval& removal, std::int32_t depth);
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
/// The names in a folder, sorted; a folder that cannot be read to its end is added to the others.
std::vector<std::string> OVNamesIn(const std::string& folder, std::set<std::string>& unreadable);

} // namespace orvane
