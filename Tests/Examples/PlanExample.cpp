#include "Tasks/OVTaskPlan.h"

#include <cstdio>
#include <cstring>

/// Says what removing the files of the command line would remove, as `forceDeleteFiles` does it.
int main(int argc, char* argv[]) {
    orvane::OVTaskPlan::Options options;
    options.progress = [](std::uint64_t /*entries*/) { return true; }; // false ends it: a button, Ctrl-C
    const orvane::OVTaskDescription& task = *orvane::OVTaskNamed("forceDeleteFiles");
    const auto plan = orvane::OVTaskPlan::make(task, std::vector<std::string>(argv + 1, argv + argc), options);
    if (plan.error != 0 || !plan.isComplete) {
        std::printf("There is no plan: %s\n", std::strerror(plan.error));
        return 1;
    }
    for (const orvane::OVPlanItem& item : plan.items) {
        switch (item.fate) {
        case orvane::OVPlanItem::Fate::removed:
        case orvane::OVPlanItem::Fate::found:
        case orvane::OVPlanItem::Fate::moved:
            std::printf("goes: %s, %ju files and folders\n", item.path.c_str(), std::uintmax_t{item.entries});
            break;
        case orvane::OVPlanItem::Fate::kept:
            std::printf("stays: %s\n", item.path.c_str());
            break;
        case orvane::OVPlanItem::Fate::takenApart:
            std::printf("stays, because xargs makes something else of its name: %s\n", item.path.c_str());
            break;
        }
    }
    for (const std::string& folder : plan.unreadable) {
        std::printf("not counted: %s\n", folder.c_str());
    }
    std::printf("%ju items, %ju files and folders\n", std::uintmax_t{plan.itemCount}, std::uintmax_t{plan.entries});
}
