#include "Platform/Posix/PosixChildProcess.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

#ifndef MAP_STACK
#define MAP_STACK 0
#endif

namespace orvane {

namespace {

/// The child needs little, but a system's exec wrapper and a sanitizer's checks have to fit as well.
constexpr std::size_t kStackSize = std::size_t{64} * 1024;

struct Start {
    ChildSteps steps;
    void* context;
};

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

// Not instrumented: the frame is left by an exec, in memory that may be the parent's, and would stay
// poisoned.
__attribute__((no_sanitize("address"))) int runChild(void* argument) {
    const Start* const start = static_cast<Start*>(argument);
    resetCaughtSignals();
    start->steps(start->context);
    ::_exit(1);
}

/// Keeps signal handlers and a cancellation of the thread, which act on the memory they find, out of a child
/// that may share it.
class Undisturbed {
  public:
    Undisturbed() {
        ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancelState_);
        sigset_t all;
        sigfillset(&all);
        ::pthread_sigmask(SIG_BLOCK, &all, &mask_);
    }
    Undisturbed(const Undisturbed&) = delete;
    Undisturbed& operator=(const Undisturbed&) = delete;
    ~Undisturbed() {
        ::pthread_sigmask(SIG_SETMASK, &mask_, nullptr);
        ::pthread_setcancelstate(cancelState_, nullptr);
    }

  private:
    sigset_t mask_ = {};
    int cancelState_ = 0;
};

pid_t forkChild(SystemCalls& calls, Start& start) {
    const pid_t child = calls.fork();
    if (child == 0) {
        runChild(&start);
    }
    return child;
}

pid_t forkChildSharingMemory(SystemCalls& calls, Start& start) {
    void* const stack = ::mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON | MAP_STACK, -1, 0);
    if (stack == MAP_FAILED) {
        return forkChild(calls, start);
    }
    pid_t child = calls.vfork(runChild, &start, stack, kStackSize);
    int error = errno;
    ::munmap(stack, kStackSize);
    // Refused by a filter or an emulator, not for want of processes or memory.
    if (child < 0 && (error == ENOSYS || error == EINVAL || error == EPERM)) {
        child = forkChild(calls, start);
        error = errno;
    }
    errno = error;
    return child;
}

class ForkChildProcess final : public ChildProcess {
  public:
    pid_t start(SystemCalls& calls, ChildSteps steps, void* context) override {
        return startChild(calls, ChildMemory::kCopied, steps, context);
    }
};

} // namespace

pid_t startChild(SystemCalls& calls, ChildMemory memory, ChildSteps steps, void* context) {
    const int callersError = errno;
    Start start = {steps, context};
    const Undisturbed undisturbed;
    const pid_t child = memory == ChildMemory::kShared ? forkChildSharingMemory(calls, start) : forkChild(calls, start);
    if (child > 0) {
        errno = callersError; // the child's failures are not the caller's
    }
    return child;
}

ChildProcess& ChildProcess::plainFork() {
    static constinit ForkChildProcess child;
    return child;
}

} // namespace orvane
