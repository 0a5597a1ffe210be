#include "Platform/Posix/PosixChildProcess.h"

#include <atomic>
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

/// A stack for one child until it has left it: the one kept for that, or while that is in use, a new one.
class ChildStack {
  public:
    ChildStack() : isKept_(!keptInUse.test_and_set(std::memory_order_acquire)) {
        if (isKept_) {
            address_ = kept;
            return;
        }
        void* const mapped =
            ::mmap(nullptr, kStackSize, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON | MAP_STACK, -1, 0);
        address_ = mapped == MAP_FAILED ? nullptr : mapped;
    }
    ChildStack(const ChildStack&) = delete;
    ChildStack& operator=(const ChildStack&) = delete;
    ~ChildStack() {
        if (isKept_) {
            keptInUse.clear(std::memory_order_release);
        } else if (address_ != nullptr) {
            ::munmap(address_, kStackSize);
        }
    }

    /// Null when there is no memory.
    [[nodiscard]] void* address() const { return address_; }

  private:
    alignas(64) static std::byte kept[kStackSize];
    static std::atomic_flag keptInUse;

    bool isKept_;
    void* address_ = nullptr;
};

alignas(64) constinit std::byte ChildStack::kept[kStackSize] = {};
constinit std::atomic_flag ChildStack::keptInUse;

pid_t forkChildSharingMemory(SystemCalls& calls, Start& start) {
    pid_t child = -1;
    int error = 0;
    {
        const ChildStack stack;
        if (stack.address() == nullptr) {
            return forkChild(calls, start);
        }
        // NOLINTNEXTLINE(clang-analyzer-security.insecureAPI.vfork): not that one
        child = calls.vfork(runChild, &start, stack.address(), kStackSize);
        error = errno;
    }
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
