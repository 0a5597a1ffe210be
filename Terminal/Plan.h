#pragma once

#include "Tasks/OVTaskPlan.h"
#include "Terminal/FreeSpace.h"
#include "Terminal/Session.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orvane::terminal {

/// What the user gives a plan and a run beside the tasks' own arguments.
struct PlanChoices {
    bool all = false;                   ///< every item, however many
    std::optional<std::string> archive; ///< where `cleanDesktop` makes its folder
    std::uint64_t megabytes = 100;      ///< from which size a file is large
};

/// Items that were planned, however many: they lie in a file that has no name.
class ItemList {
  public:
    struct Item {
        std::string path;
        std::uint64_t bytes = 0;
        std::uint64_t entries = 0; ///< files and folders, itself included
        dev_t device = 0;
        ino_t number = 0; ///< of the file: another one at that path was made since
    };

    ItemList();
    /// False when the file took it not whole (`errno`).
    [[nodiscard]] bool add(const Item& item);

    /// Begins with the first again. There is one place in the file: one thread at a time.
    void rewind() const;
    /// The next one; nothing behind the last.
    [[nodiscard]] std::optional<Item> next() const;

  private:
    struct Close {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Close> file_;
};

/// Several tasks, as one plan.
struct Planned {
    struct Task {
        Job job;
        OVTaskPlan plan;
        ItemList items;     ///< those that are to go
        bool moves = false; ///< and are not removed
    };
    std::vector<Task> tasks;
    FreeSpace space; ///< of the file systems that it concerns

    [[nodiscard]] std::uint64_t sum(std::uint64_t OVTaskPlan::*count) const;
    /// Whether any of the tasks is of the kind that removes or moves something.
    [[nodiscard]] bool removes() const;
    [[nodiscard]] OVTaskTier highestTier() const;
};

/// Makes the plans, with a line of progress. Throws a `CommandError` for a task that cannot be planned, or an
/// interruption. `eachItem` gets what comes with `--all`.
Planned planTasks(Session& session, std::vector<Job> jobs, const PlanChoices& choices,
                  const std::function<void(const OVPlanItem& item)>& eachItem = nullptr);

/// The items for a person: with `--all` they were printed before.
void printPlan(Session& session, const Planned& planned, const PlanChoices& choices);

/// What a question says of it: count, size, three examples, and what will be other than it looks.
void printSummary(Session& session, const Planned& planned);

Json jsonOf(const Planned& planned);
Json jsonOf(const OVPlanItem& item);

} // namespace orvane::terminal
