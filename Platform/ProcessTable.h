#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace orvane {

/// One process, as its kernel describes it.
struct ProcessRecord {
    pid_t processID = 0;
    pid_t parent = 0;
    pid_t group = 0;
    std::uint64_t started = 0; ///< a number that tells it from another of the same id; 0 when the kernel does not say
    bool isZombie = false;     ///< it has ended, and nobody has asked for its status
    char name[33] = {};        ///< of its program, cut
};

/// The processes of the machine (`/proc`, `sysctl` with `KERN_PROC_ALL`), whosever they are.
class ProcessTable {
  public:
    /// Lives for ever; may be used from any thread.
    static ProcessTable& platform();

    /// All processes, in no order; nothing when the kernel does not tell. One that begins or ends meanwhile may be
    /// missing.
    virtual std::optional<std::vector<ProcessRecord>> processes() = 0;

  protected:
    ~ProcessTable() = default;
};

} // namespace orvane
