// plan_probe [--archive FOLDER] [--fold COUNT] TASK [ARGUMENT...]: makes the task's plan and prints it, each line ended
// by a NUL: an item as its fate's letter, bytes, entries, reason and path with tabs between them and, behind a SOH,
// what it becomes; "c" and a command; "u" and an unreadable folder; "=" and the sums. Ends with the plan's error.

#include "Tasks/OVTaskPlan.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

void put(const std::string& line) {
    std::fwrite(line.c_str(), 1, line.size() + 1, stdout);
}

} // namespace

int main(int count, char* words[]) {
    using namespace orvane;
    OVTaskPlan::Options options;
    int next = 1;
    for (; next + 1 < count && words[next][0] == '-'; next += 2) {
        if (std::string(words[next]) == "--archive") {
            options.archiveDesktopPath = words[next + 1];
        } else {
            options.foldAbove = std::strtoul(words[next + 1], nullptr, 10);
        }
    }
    const OVTaskDescription* const task = next < count ? OVTaskNamed(words[next]) : nullptr;
    if (task == nullptr) {
        return 64;
    }
    const OVTaskPlan plan = OVTaskPlan::make(*task, std::vector<std::string>(words + next + 1, words + count), options);
    for (const OVPlanItem& item : plan.items) {
        const char fate = "rmktf"[static_cast<int>(item.fate)];
        put(std::string(1, fate) + "\t" + std::to_string(item.bytes) + "\t" + std::to_string(item.entries) + "\t" +
            std::to_string(item.reason) + "\t" + item.path + "\001" + item.becomes);
    }
    for (const std::string& command : plan.commands) {
        put("c" + command);
    }
    for (const std::string& folder : plan.unreadable) {
        put("u" + folder);
    }
    put("=" + std::to_string(plan.itemCount) + " " + std::to_string(plan.entries) + " " + std::to_string(plan.bytes) +
        " " + std::to_string(plan.takenApart));
    return plan.error;
}
