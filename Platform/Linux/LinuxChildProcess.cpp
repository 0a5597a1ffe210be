#include "Platform/Posix/PosixChildProcess.h"

#include <csignal>
#include <cstring>
#include <sched.h>

namespace orvane {

namespace {

class LinuxChildProcess final : public ChildProcess {
  public:
    pid_t start(SystemCalls& calls, ChildSteps steps, void* context) override {
        return startChild(calls, ChildMemory::kShared, steps, context);
    }
};

} // namespace

pid_t forkSharingMemory(int (*child)(void*), void* context, void* stack, std::size_t stackSize) {
    return ::clone(child, static_cast<char*>(stack) + stackSize, CLONE_VM | CLONE_VFORK | SIGCHLD, context);
}

const char* ChildProcess::errorDescription(int error) {
#ifdef __GLIBC__
    const char* const text = ::strerrordesc_np(error);
#else
    const char* const text = std::strerror(error); // NOLINT(concurrency-mt-unsafe): a table look-up there
#endif
    return text != nullptr ? text : "Unknown error";
}

ChildProcess& ChildProcess::platform() {
    static constinit LinuxChildProcess child;
    return child;
}

} // namespace orvane
