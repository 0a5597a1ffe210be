#pragma once

#include "Platform/SystemCalls.h"

#include <sys/types.h>

// The two ways to a child process. Either keeps the caller's signal handlers from running in the child: caught signals
// are back at their default action there, as they would be after the exec, and ignored ones stay ignored. The calling
// thread's signal mask is its own again afterwards, and with a child started, its `errno`, too.

namespace orvane {

/// What a forked child does before the program that it executes. The function never returns to its caller: it executes
/// a program or ends the process. Other threads of the parent may have held any lock at the fork, so it calls nothing
/// but async-signal-safe functions. It begins with every signal blocked.
using ChildSteps = void (*)(void* context);

/// Runs `steps(context)` in a child made by `fork`. Returns its process ID; -1 with `errno` set when there is none.
pid_t forkChild(SystemCalls& calls, ChildSteps steps, void* context);

/// A program whose process leads a session of its own, with no signal blocked and its output in one place.
struct ChildProgram {
    const char* path;
    char* const* arguments; ///< its name first, a null pointer last
    int output;             ///< inherited under its own number, though it is close-on-exec
    int standardOutput;     ///< a number under which the program has `output`, too
    int standardError;      ///< and another
};

/// Starts the program by the C library's `posix_spawn`, whose cost does not grow with the caller's memory. Returns once
/// it has been executed, with its process ID; -1 when the library cannot do that or has failed in any step, and then
/// there is no child, and a fork can tell why.
pid_t spawnChild(SystemCalls& calls, const ChildProgram& program);

/// The system's message for an `errno` value ("Permission denied"), safe to ask for in a child: not translated, and
/// nothing is allocated or locked.
const char* childErrorDescription(int error);

} // namespace orvane
