#include "Tasks/OVTaskPlan.h"

#include "Tasks/OVPlanNames.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

namespace orvane {

namespace {

using Kind = OVPlanItem::Kind;
using Fate = OVPlanItem::Fate;
using Remover = OVTreeWalk::Remover;

Kind kindOf(mode_t mode) {
    return S_ISDIR(mode) ? Kind::folder : S_ISREG(mode) ? Kind::file : S_ISLNK(mode) ? Kind::link : Kind::other;
}

/// The items: as long as there are not too many, each; then, as often as it takes, what shares its fate and its folder
/// becomes one item, the folder. No more are kept than that, however many come.
class Items {
  public:
    Items(std::vector<OVPlanItem>& items, std::size_t most) : items_(items), most_(most) {}

    void add(OVPlanItem item) {
        for (std::size_t level = 0; level < levels_; ++level) {
            raise(item);
        }
        place(std::move(item));
        while (items_.size() > most_ && foldable_ > 0) {
            fold();
        }
    }
    [[nodiscard]] bool isFolded() const { return levels_ > 0; }

  private:
    static bool isFoldable(const OVPlanItem& item) { return item.fate != Fate::takenApart && item.path != "/"; }

    /// The folder in the item's place.
    static void raise(OVPlanItem& item) {
        if (isFoldable(item)) {
            item.path = OVFolderOf(item.path);
            item.kind = Kind::folder;
            item.becomes = item.fate == Fate::moved ? OVFolderOf(item.becomes) : "";
        }
    }

    void place(OVPlanItem item) {
        if (isFolded() && item.fate != Fate::takenApart) {
            const auto [place, isNew] = places_.try_emplace({item.fate, item.path}, items_.size());
            if (!isNew) {
                OVPlanItem& sum = items_[place->second];
                sum.bytes += item.bytes;
                sum.entries += item.entries;
                sum.modified = std::max(sum.modified, item.modified);
                return;
            }
        }
        foldable_ += isFoldable(item) ? 1U : 0U;
        items_.push_back(std::move(item));
    }

    void fold() {
        ++levels_;
        foldable_ = 0;
        places_.clear();
        for (OVPlanItem& item : std::exchange(items_, {})) {
            raise(item);
            place(std::move(item));
        }
    }

    std::vector<OVPlanItem>& items_;
    const std::size_t most_;
    std::size_t levels_ = 0;   ///< how often all were folded
    std::size_t foldable_ = 0; ///< items that can be, once more
    std::map<std::pair<Fate, std::string>, std::size_t> places_;
};

/// Looks at what was found, and says what goes of it.
class Planner {
  public:
    Planner(const OVTaskDescription& task, const std::vector<std::string>& arguments,
            const OVTaskPlan::Options& options, const OVTaskRunnerServices& services, OVTaskPlan& plan)
        : options_(options), plan_(plan), names_(task, arguments, options, services, plan) {}

    void make();

  private:
    void measure();
    void split(const std::vector<OVTreeWalk::Stuck>& stuck);
    void splitOne(OVPlanName named, const std::vector<OVTreeWalk::Stuck>& stuck, std::vector<OVPlanName>& into);
    void tell();

    const OVTaskPlan::Options& options_;
    OVTaskPlan& plan_;
    OVPlanNames names_;
};

void Planner::make() {
    names_.find();
    if (plan_.error == 0) {
        measure();
        tell();
    }
    plan_.unreadable.assign(names_.unreadable.begin(), names_.unreadable.end());
}

/// Walks what goes, first with an eye on what cannot; what holds such things is taken to pieces and all is walked
/// again.
void Planner::measure() {
    for (const Remover remover : {names_.isByRoot() ? Remover::root : Remover::user, Remover::nobody}) {
        OVTreeWalk look({.remover = remover, .overwrites = names_.isOverwritten(), .progress = names_.progress()});
        if (!plan_.isComplete || !names_.walk(look) || look.stuck.empty()) {
            return;
        }
        split(look.stuck);
    }
}

void Planner::split(const std::vector<OVTreeWalk::Stuck>& stuck) {
    std::vector<OVPlanName> pieces;
    for (OVPlanName& named : names_.names) {
        if (named.goes()) {
            splitOne(std::move(named), stuck, pieces);
        } else {
            pieces.push_back(std::move(named));
        }
    }
    names_.names = std::move(pieces);
}

/// What of it stays, and the largest parts of it that go.
void Planner::splitOne(OVPlanName named, const std::vector<OVTreeWalk::Stuck>& stuck, std::vector<OVPlanName>& into) {
    const auto behind = [&](const std::string& path) {
        return std::lower_bound(
            stuck.begin(), stuck.end(), path,
            [](const OVTreeWalk::Stuck& some, const std::string& text) { return some.path < text; });
    };
    std::vector<std::string> left = {std::move(named.tree.path)};
    while (!left.empty()) {
        OVPlanName piece(std::move(left.back()), named.fate, named.reason, named.becomes());
        left.pop_back();
        const std::string& path = piece.tree.path;
        const auto own = behind(path);
        const auto inner = behind(path + "/");
        const std::int32_t error = own != stuck.end() && own->path == path ? own->error : 0;
        const bool isOpened =
            named.fate != Fate::moved && (error != 0 || (inner != stuck.end() && inner->path.starts_with(path + "/")));
        if (isOpened && OVIsFolder(path)) {
            std::vector<std::string> names = OVNamesIn(path, names_.unreadable);
            std::reverse(names.begin(), names.end());
            for (const std::string& name : names) {
                left.push_back(std::string(path).append("/").append(name));
            }
        }
        if (error != 0 || isOpened) {
            piece.fate = Fate::kept;
            piece.reason = error != 0 ? error : ENOTEMPTY;
            piece.become("");
        }
        into.push_back(std::move(piece));
    }
}

/// Fills in the items and the sums.
void Planner::tell() {
    Items items(plan_.items, options_.foldAbove);
    for (OVPlanName& named : names_.names) {
        OVTreeWalk::Tree& tree = named.tree;
        OVPlanItem item = {.path = std::move(tree.path), .fate = named.fate, .becomes = named.becomes()};
        item.reason = named.reason;
        if (named.goes()) {
            if (tree.error != 0 && plan_.isComplete) {
                continue; // it has gone meanwhile
            }
            item.kind = kindOf(tree.mode);
            item.modified = tree.modified;
            item.entries = std::max<std::uint64_t>(tree.entries, 1);
            item.bytes = item.fate == Fate::moved ? 0 : tree.bytes;
            ++plan_.itemCount;
            plan_.entries += item.entries;
            plan_.bytes += item.bytes;
        } else if (struct stat status = {}; ::lstat(item.path.c_str(), &status) == 0) {
            item.kind = kindOf(status.st_mode);
            item.modified = status.st_mtime;
        }
        plan_.takenApart += item.fate == Fate::takenApart ? 1U : 0U;
        if (options_.eachItem) {
            options_.eachItem(item);
        }
        items.add(std::move(item));
    }
    plan_.isFolded = items.isFolded();
}

} // namespace

OVTaskPlan OVTaskPlan::make(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                            const Options& options, const OVTaskRunnerServices& services) {
    OVTaskPlan plan;
    Planner(task, arguments, options, services, plan).make();
    return plan;
}

} // namespace orvane
