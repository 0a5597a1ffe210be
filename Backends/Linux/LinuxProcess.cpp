#include "Backends/Posix/PosixDescriptors.h"
#include "Platform/Process.h"

#include <array>
#include <charconv>
#include <fcntl.h>
#include <string_view>
#include <sys/syscall.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr std::int64_t kSecond = 1'000'000'000; // in nanoseconds

std::int64_t nanoseconds(const timespec& time) {
    return std::int64_t{time.tv_sec} * kSecond + time.tv_nsec;
}

/// The start of the process since the machine's, in clock ticks, rounded down: the twenty-second field of its record.
std::optional<std::int64_t> startTicks() {
    std::array<char, 1024> record = {};
    const int file = ::open("/proc/self/stat", O_RDONLY | O_CLOEXEC);
    const ssize_t size = file == -1 ? -1 : ::read(file, record.data(), record.size());
    ::close(file);
    std::string_view text(record.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
    // The second field is a name that may hold anything but ends with the last parenthesis.
    std::size_t place = text.rfind(')');
    for (int field = 3; field <= 22 && place != std::string_view::npos; ++field) {
        place = text.find(' ', place + 1);
    }
    std::int64_t ticks = 0;
    if (place == std::string_view::npos ||
        std::from_chars(text.data() + place + 1, text.data() + text.size(), ticks).ec != std::errc()) {
        return std::nullopt;
    }
    return ticks;
}

class LinuxProcess final : public Process {
  public:
    std::uint64_t threadID() override { return static_cast<std::uint64_t>(::syscall(SYS_gettid)); }

    std::optional<timespec> startTime() override {
        const std::optional<std::int64_t> ticks = startTicks();
        // The clocks in this order: whatever comes between makes the answer earlier.
        timespec now = {};
        timespec sinceBoot = {};
        if (!ticks || ::clock_gettime(CLOCK_REALTIME, &now) != 0 || ::clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) {
            return std::nullopt;
        }
        const std::int64_t tick = kSecond / ::sysconf(_SC_CLK_TCK);
        const std::int64_t start = nanoseconds(now) - nanoseconds(sinceBoot) + *ticks * tick;
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
