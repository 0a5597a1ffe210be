#include "Backends/Posix/PosixChildProcess.h"
#include "Platform/ChildProcess.h"

#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <sys/sysctl.h>

namespace orvane {

namespace {

/// `POSIX_SPAWN_SETSID`, which the headers before macOS 10.15 lack.
constexpr short kNewSession = 0x0400;
/// The kernel of 10.15. An older one may start the child in the caller's session without a word.
constexpr int kFirstKernelWithNewSession = 19;

int kernelMajorRelease() {
    static constinit std::atomic<int> known{0};
    int major = known.load(std::memory_order_relaxed);
    if (major == 0) {
        std::array<char, 64> release = {};
        std::size_t size = release.size() - 1;
        const bool told = ::sysctlbyname("kern.osrelease", release.data(), &size, nullptr, 0) == 0;
        major = told ? std::atoi(release.data()) : -1;
        known.store(major, std::memory_order_relaxed);
    }
    return major;
}

} // namespace

short newSessionFlag() {
    return kernelMajorRelease() >= kFirstKernelWithNewSession ? kNewSession : short{0};
}

const char* childErrorDescription(int error) {
    return error >= 0 && error < sys_nerr ? sys_errlist[error] : "Unknown error";
}

} // namespace orvane
