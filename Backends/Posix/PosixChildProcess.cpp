#include "Backends/Posix/PosixChildProcess.h"

#include "Platform/ChildProcess.h"

#include <cerrno>
#include <csignal>
#include <unistd.h>

namespace orvane {

namespace {

void resetCaughtSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        struct sigaction action = {};
        if (::sigaction(signal, nullptr, &action) == 0 && action.sa_handler != SIG_DFL &&
            action.sa_handler != SIG_IGN) {
            action = {};
            action.sa_handler = SIG_DFL;
            ::sigaction(signal, &action, nullptr);
        }
    }
}

bool addSteps(posix_spawnattr_t* attributes, posix_spawn_file_actions_t* actions, const ChildProgram& program) {
    const short newSession = newSessionFlag();
    sigset_t none;
    sigemptyset(&none);
    // A duplicate is not close-on-exec, so the output becomes one of its own duplicates, unless they are the same.
    return newSession != 0 && program.output != program.standardOutput && program.output != program.standardError &&
           ::posix_spawnattr_setflags(attributes, static_cast<short>(newSession | POSIX_SPAWN_SETSIGMASK)) == 0 &&
           ::posix_spawnattr_setsigmask(attributes, &none) == 0 &&
           ::posix_spawn_file_actions_adddup2(actions, program.output, program.standardOutput) == 0 &&
           ::posix_spawn_file_actions_adddup2(actions, program.output, program.standardError) == 0 &&
           ::posix_spawn_file_actions_adddup2(actions, program.standardOutput, program.output) == 0;
}

} // namespace

pid_t forkChild(SystemCalls& calls, ChildSteps steps, void* context) {
    const int callersError = errno;
    sigset_t all;
    sigset_t callersMask;
    sigfillset(&all);
    ::pthread_sigmask(SIG_BLOCK, &all, &callersMask);
    const pid_t child = calls.fork();
    if (child == 0) {
        resetCaughtSignals();
        steps(context);
        ::_exit(1);
    }
    ::pthread_sigmask(SIG_SETMASK, &callersMask, nullptr);
    if (child > 0) {
        errno = callersError;
    }
    return child;
}

pid_t spawnChild(SystemCalls& calls, const ChildProgram& program) {
    const int callersError = errno;
    pid_t child = -1;
    posix_spawnattr_t attributes;
    if (::posix_spawnattr_init(&attributes) == 0) {
        posix_spawn_file_actions_t actions;
        if (::posix_spawn_file_actions_init(&actions) == 0) {
            if (!addSteps(&attributes, &actions, program) ||
                calls.posix_spawn(&child, program.path, &actions, &attributes, program.arguments) != 0) {
                child = -1;
            }
            ::posix_spawn_file_actions_destroy(&actions);
        }
        ::posix_spawnattr_destroy(&attributes);
    }
    errno = callersError;
    return child;
}

} // namespace orvane
