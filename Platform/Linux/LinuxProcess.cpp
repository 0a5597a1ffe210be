#include "Platform/Posix/PosixDescriptors.h"
#include "Platform/Process.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace orvane {

namespace {

class LinuxProcess final : public Process {
  public:
    std::uint64_t threadID() override { return static_cast<std::uint64_t>(::syscall(SYS_gettid)); }

    bool closeDescriptorsFrom(int first) override {
#ifdef SYS_close_range
        if (::syscall(SYS_close_range, static_cast<unsigned>(first), ~0U, 0U) == 0) {
            return true;
        }
#endif
        return closeListedDescriptors("/proc/self/fd", first) || closeDescriptorsUpToLimit(first);
    }
};

} // namespace

Process& Process::current() {
    static constinit LinuxProcess process;
    return process;
}

} // namespace orvane
