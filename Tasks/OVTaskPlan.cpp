#include "Tasks/OVTaskPlan.h"

#include "Tasks/OVPlanNames.h"

#include <algorithm>
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
    static void splitOne(const OVPlanName& named, const std::vector<OVTreeWalk::Stuck>& stuck,
                         std::vector<OVPlanName>& into);
    void tell();
    void fold();

    const OVTaskPlan::Options& options_;
    OVTaskPlan& plan_;
    OVPlanNames names_;
    std::vector<OVTreeWalk::Tree> trees_;
};

void Planner::make() {
    names_.find();
    if (plan_.error == 0) {
        measure();
        tell();
        fold();
    }
    plan_.unreadable.assign(names_.unreadable.begin(), names_.unreadable.end());
}

/// Walks what goes, first with an eye on what cannot; what holds such things is taken to pieces and all is walked
/// again.
void Planner::measure() {
    for (const Remover remover : {names_.isByRoot() ? Remover::root : Remover::user, Remover::nobody}) {
        trees_.clear();
        for (OVPlanName& named : names_.names) {
            if (named.goes()) {
                named.tree = trees_.size();
                trees_.push_back({.path = named.path});
            }
        }
        OVTreeWalk look({.remover = remover, .overwrites = names_.isOverwritten(), .progress = names_.progress()});
        if (!plan_.isComplete || !names_.walk(look, trees_, false) || look.stuck.empty()) {
            return;
        }
        split(look.stuck);
    }
}

void Planner::split(const std::vector<OVTreeWalk::Stuck>& stuck) {
    std::vector<OVPlanName> pieces;
    for (OVPlanName& named : names_.names) {
        if (named.goes()) {
            splitOne(named, stuck, pieces);
        } else {
            pieces.push_back(std::move(named));
        }
    }
    names_.names = std::move(pieces);
}

/// What of it stays, and the largest parts of it that go.
void Planner::splitOne(const OVPlanName& named, const std::vector<OVTreeWalk::Stuck>& stuck,
                       std::vector<OVPlanName>& into) {
    const auto behind = [&](const std::string& path) {
        return std::lower_bound(
            stuck.begin(), stuck.end(), path,
            [](const OVTreeWalk::Stuck& some, const std::string& text) { return some.path < text; });
    };
    std::vector<std::string> left = {named.path};
    while (!left.empty()) {
        OVPlanName piece = named;
        piece.path = std::move(left.back());
        left.pop_back();
        const auto own = behind(piece.path);
        const auto inner = behind(piece.path + "/");
        const std::int32_t error = own != stuck.end() && own->path == piece.path ? own->error : 0;
        const bool isOpened = named.fate != Fate::moved &&
                              (error != 0 || (inner != stuck.end() && inner->path.starts_with(piece.path + "/")));
        if (isOpened && OVIsFolder(piece.path)) {
            std::vector<std::string> names = OVNamesIn(piece.path);
            std::reverse(names.begin(), names.end());
            for (const std::string& name : names) {
                left.push_back(piece.path + "/" + name);
            }
        }
        if (error != 0 || isOpened) {
            piece.fate = Fate::kept;
            piece.reason = error != 0 ? error : ENOTEMPTY;
            piece.becomes.clear();
        }
        into.push_back(std::move(piece));
    }
}

/// Fills in the items and the sums.
void Planner::tell() {
    for (OVPlanName& named : names_.names) {
        const bool goes = named.goes();
        OVPlanItem item = {.path = std::move(named.path), .fate = named.fate, .becomes = std::move(named.becomes)};
        item.reason = named.reason;
        if (goes) {
            const OVTreeWalk::Tree& tree = trees_[named.tree];
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
        plan_.items.push_back(std::move(item));
    }
}

/// As often as it takes: what shares its fate and its folder becomes one item, the folder.
void Planner::fold() {
    const auto isFolded = [](const OVPlanItem& item) { return item.fate != Fate::takenApart && item.path != "/"; };
    while (plan_.items.size() > options_.foldAbove && std::any_of(plan_.items.begin(), plan_.items.end(), isFolded)) {
        std::vector<OVPlanItem> folded;
        std::map<std::pair<Fate, std::string>, std::size_t> places;
        for (OVPlanItem& item : plan_.items) {
            if (!isFolded(item)) {
                folded.push_back(std::move(item));
                continue;
            }
            const std::string folder = OVFolderOf(item.path);
            const auto [place, isNew] = places.try_emplace({item.fate, folder}, folded.size());
            if (isNew) {
                item.path = folder;
                item.kind = Kind::folder;
                item.becomes = item.fate == Fate::moved ? OVFolderOf(item.becomes) : "";
                folded.push_back(std::move(item));
            } else {
                OVPlanItem& sum = folded[place->second];
                sum.bytes += item.bytes;
                sum.entries += item.entries;
                sum.modified = std::max(sum.modified, item.modified);
            }
        }
        plan_.items = std::move(folded);
        plan_.isFolded = true;
    }
}

} // namespace

OVTaskPlan OVTaskPlan::make(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                            const Options& options, const OVTaskRunnerServices& services) {
    OVTaskPlan plan;
    Planner(task, arguments, options, services, plan).make();
    return plan;
}

} // namespace orvane
