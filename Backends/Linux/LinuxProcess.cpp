#include "Backends/Linux/ProcessStatus.h"
#include "Backends/Posix/PosixDescriptors.h"
#include "Platform/Process.h"

#include <sys/syscall.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000; // in nanoseconds

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

class LinuxProcess final : public Process {
  public:
    std::uint64_t threadID() override { return static_cast<std::uint64_t>(::syscall(SYS_gettid)); }

    std::optional<timespec> startTime() override {
        const std::optional<ProcessRecord> record = readProcessStatus("/proc/self/stat");
        // The clocks in this order: whatever comes between makes the answer earlier.
        timespec now = {};
        timespec sinceBoot = {};
        if (!record || ::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) {
            return std::nullopt;
        }
        const std::int64_t tick = kSecond / ::sysconf(_SC_CLK_TCK);
        const std::int64_t start =
            nanoseconds(now) - nanoseconds(sinceBoot) + static_cast<std::int64_t>(record->started) * tick;
        return timespec{static_cast<time_t>(start / kSecond), static_cast<long>(start % kSecond)};
    }

    bool closeDescriptorsFrom(int first) override {
#ifdef SYS_close_range
        if (::syscall(SYS_close_range, static_cast<unsigned>(first), ~0U, 0U) == 0) {
            return true;
        }
#endif
        return closeListedDescriptors(first, inheritableDescriptors, ::close);
    }
};

} // namespace

Process& Process::current() {
    static constinit LinuxProcess process;
    return process;
}

} // namespace orvane
