#pragma once

#include "Platform/ProcessTable.h"

#include <cstddef>
#include <sys/types.h>
#include <vector>

namespace orvane {

/// A process and all that descends from it, followed from one look at the process table to the next, so that those
/// whose parents have ended meanwhile still belong to it.
///
/// A process belongs to the family when its parent does, or when it is in a process group of the family's: the founder
/// leads a session of its own, and nobody enters a group of another session. A process id that the system gives away
/// anew is told from the former one by its start.
class OVProcessFamily {
  public:
    /// The founder is an unreaped child of the calling process; `outside` is the caller's own process group.
    OVProcessFamily(ProcessTable& table, pid_t founder, pid_t outside);

    /// Looks. False when the kernel does not tell, and then the family is what it was: at first the founder alone.
    bool update();

    /// The founder has ended and its status was taken, so that its number may be another's now.
    void forgetFounder();

    /// Those that live, zombies not counted, in no order.
    [[nodiscard]] std::vector<ProcessRecord> living() const;
    /// Their process groups, each once, those of the latest generation first. Never the caller's, nor a group below 2.
    [[nodiscard]] std::vector<pid_t> groups() const;
    /// A living process in the group, its leader if there is one; null for none.
    [[nodiscard]] const ProcessRecord* inGroup(pid_t group) const;
    /// The living process of the latest generation, the youngest of several; null when none lives.
    [[nodiscard]] const ProcessRecord* youngest() const;

  private:
    struct Member {
        ProcessRecord process;
        std::size_t generation; ///< 0 is the founder's
    };

    [[nodiscard]] bool mayBeSignalled(pid_t group) const { return group > 1 && group != outside_; }
    [[nodiscard]] const Member* sameProcess(const ProcessRecord& process) const;
    /// Its parent, or somebody of its group, now or at the last look.
    [[nodiscard]] const Member* relative(const ProcessRecord& process, const std::vector<Member>& found,
                                         const std::vector<ProcessRecord>& others) const;

    ProcessTable& table_;
    pid_t founder_;
    const pid_t outside_;
    std::vector<Member> members_;
};

} // namespace orvane
