#include "Host/OVProcessFamily.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <tuple>
#include <utility>

namespace orvane {

OVProcessFamily::OVProcessFamily(ProcessTable& table, pid_t founder, pid_t outside)
    : table_(table), founder_(founder), outside_(outside) {
    members_.push_back({{.processID = founder, .group = founder}, 0});
}

bool OVProcessFamily::update() {
    auto all = table_.processes();
    if (!all) {
        return false;
    }
    std::vector<Member> found;
    std::vector<ProcessRecord> others;
    for (const ProcessRecord& process : *all) {
        if (const Member* const known = sameProcess(process)) {
            found.push_back({process, known->generation});
        } else {
            others.push_back(process);
        }
    }
    // A table that hides others' processes hides root's, too; but until its status was taken, it is there.
    const auto isFounder = [this](const Member& member) { return member.process.processID == founder_; };
    if (std::none_of(found.begin(), found.end(), isFounder)) {
        std::copy_if(members_.begin(), members_.end(), std::back_inserter(found), isFounder);
    }
    // Until a round finds nobody: the table is in no order.
    for (bool isComplete = false; !isComplete;) {
        isComplete = true;
        for (auto process = others.begin(); process != others.end();) {
            const Member* const kin = relative(*process, found, others);
            if (kin == nullptr) {
                ++process;
                continue;
            }
            const bool isChild = kin->process.processID == process->parent;
            found.push_back({*process, kin->generation + (isChild ? 1 : 0)});
            process = others.erase(process);
            isComplete = false;
        }
    }
    members_ = std::move(found);
    return true;
}

void OVProcessFamily::forgetFounder() {
    for (Member& member : members_) {
        member.process.isZombie = member.process.isZombie || member.process.processID == founder_;
    }
    founder_ = -1;
}

const OVProcessFamily::Member* OVProcessFamily::sameProcess(const ProcessRecord& process) const {
    const auto known = std::find_if(members_.begin(), members_.end(), [&](const Member& member) {
        // A child that was not reaped keeps its number.
        return member.process.processID == process.processID &&
               (process.processID == founder_ || (member.process.started == process.started &&
                                                  (process.started != 0 || member.process.group == process.group)));
    });
    return known != members_.end() ? &*known : nullptr;
}

const OVProcessFamily::Member* OVProcessFamily::relative(const ProcessRecord& process, const std::vector<Member>& found,
                                                         const std::vector<ProcessRecord>& others) const {
    const auto firstIn = [](const std::vector<Member>& members, auto isKin) {
        const auto kin =
            std::find_if(members.begin(), members.end(), [&](const Member& member) { return isKin(member.process); });
        return kin != members.end() ? &*kin : nullptr;
    };
    const auto isParent = [&](const ProcessRecord& member) { return member.processID == process.parent; };
    const auto isMate = [&](const ProcessRecord& member) { return member.group == process.group; };
    const Member* kin = firstIn(found, isParent);
    if (kin == nullptr && mayBeSignalled(process.group)) {
        kin = firstIn(found, isMate);
        // A group that was empty in between has a leader of the same number, which is nobody's here.
        const bool isAnew = std::any_of(others.begin(), others.end(),
                                        [&](const ProcessRecord& other) { return other.processID == process.group; });
        if (kin == nullptr && !isAnew) {
            kin = firstIn(members_, isMate);
        }
    }
    return kin;
}

std::vector<ProcessRecord> OVProcessFamily::living() const {
    std::vector<ProcessRecord> processes;
    for (const Member& member : members_) {
        if (!member.process.isZombie) {
            processes.push_back(member.process);
        }
    }
    return processes;
}

std::vector<pid_t> OVProcessFamily::groups() const {
    std::vector<std::pair<std::size_t, pid_t>> found; // with the generation of its eldest
    for (const Member& member : members_) {
        const pid_t group = member.process.group;
        if (member.process.isZombie || !mayBeSignalled(group)) {
            continue;
        }
        const auto known =
            std::find_if(found.begin(), found.end(), [&](const auto& entry) { return entry.second == group; });
        if (known == found.end()) {
            found.emplace_back(member.generation, group);
        } else {
            known->first = std::min(known->first, member.generation);
        }
    }
    std::sort(found.begin(), found.end(), std::greater<>());
    std::vector<pid_t> groups(found.size());
    std::transform(found.begin(), found.end(), groups.begin(), [](const auto& entry) { return entry.second; });
    return groups;
}

const ProcessRecord* OVProcessFamily::inGroup(pid_t group) const {
    const ProcessRecord* result = nullptr;
    for (const Member& member : members_) {
        const ProcessRecord& process = member.process;
        if (!process.isZombie && process.group == group && (result == nullptr || process.processID == group)) {
            result = &process;
        }
    }
    return result;
}

const ProcessRecord* OVProcessFamily::youngest() const {
    const auto age = [](const Member& member) {
        return std::tuple(!member.process.isZombie, member.generation, member.process.started,
                          member.process.processID);
    };
    const auto last = std::max_element(members_.begin(), members_.end(),
                                       [&](const Member& a, const Member& b) { return age(a) < age(b); });
    return last != members_.end() && !last->process.isZombie ? &last->process : nullptr;
}

} // namespace orvane
