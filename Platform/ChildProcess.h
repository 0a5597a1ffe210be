#pragma once

#include "Platform/SystemCalls.h"

#include <sys/types.h>

namespace orvane {

/// What a child does between its start and the program it executes. The function never returns to its caller:
/// it executes a program or ends the process. It may share the parent's memory and run while other threads of
/// the parent hold any lock, so it calls nothing but async-signal-safe functions and writes to nothing but
/// its own variables.
using ChildSteps = void (*)(void* context);

/// Starts child processes.
///
/// Every start keeps the parent's signal handlers from running in the child: it begins with every signal
/// blocked and all caught signals back at their default action, as they would be after the exec. Ignored
/// signals stay ignored. The calling thread's signal mask and `errno` are its own again afterwards.
class ChildProcess {
  public:
    /// The cheapest start that the system has, whose cost does not grow with the parent's memory where that
    /// can be. Lives for ever; may be used from any thread.
    static ChildProcess& platform();

    /// `fork`, which every system has.
    static ChildProcess& plainFork();

    /// The system's message for an `errno` value ("Permission denied"), safe to ask for in the child: not
    /// translated, and nothing is allocated or locked.
    static const char* errorDescription(int error);

    /// Runs `steps(context)` in a new process made by `calls`. Returns its process ID; -1 with `errno` set
    /// when there is none.
    virtual pid_t start(SystemCalls& calls, ChildSteps steps, void* context) = 0;

  protected:
    ChildProcess() = default;
    ChildProcess(const ChildProcess&) = default;
    ChildProcess& operator=(const ChildProcess&) = default;
    ~ChildProcess() = default;
};

} // namespace orvane
