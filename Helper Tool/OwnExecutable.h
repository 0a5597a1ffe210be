#pragma once

#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Platform/Executable.h"
#include "Platform/Process.h"
#include "Platform/SystemCalls.h"

#include <csignal>

namespace orvane {

/// The tool's own executable, whose state "repairPriviliges" and "surrenderPriviliges" change; its path is the
/// kernel's.
///
/// Whoever starts the tool can hold it up at any moment: by a standard error that nobody reads, by a stop signal. What
/// he was allowed to do when he started it he may no longer be allowed to do when he lets it go. So for a real user
/// other than root the file is changed only if it is still what the process was started from: nobody has changed its
/// owner, permissions or content since the kernel made the process. Or if it is installed: then everybody may start the
/// tool anew and do the same, and has nothing of having waited.
class OwnExecutable final : public SUIDRoot::File {
  public:
    explicit OwnExecutable(SystemCalls& calls = SystemCalls::platform(), Executable& executable = Executable::current(),
                           Process& process = Process::current());

    /// Opens the executed file and, for a real user other than root, takes the process out of his reach, then looks.
    /// From the look to `release` nothing can wait: nothing is logged, every signal is blocked that can be, and root in
    /// all user ids no process of the user's may stop it.
    ///
    /// `EAGAIN` when the file may have changed since the start; `EPERM` when it cannot be told from its name (root may
    /// change it by name then).
    std::int32_t take() override;
    int chown(uid_t owner, gid_t group) override;
    int chmod(mode_t mode) override;
    /// The real user id and the signals are the user's again.
    void release() override;

  private:
    [[nodiscard]] bool isAsAtStart();
    std::int32_t refuse(std::int32_t error, const char* reason);

    Executable& executable_;
    Process& process_;
    const uid_t user_;
    int descriptor_ = -1; ///< the executed file; -1: by its path
    bool isOutOfReach_ = false;
    sigset_t signals_ = {};
};

} // namespace orvane
