#include "Backends/Posix/PosixDescriptors.h"
#include "Platform/Process.h"

#include <libproc.h>
#include <mach/mach.h>
#include <pthread.h>
#include <sys/proc_info.h>
#include <unistd.h>

namespace orvane {

namespace {

class DarwinProcess final : public Process {
  public:
    std::uint64_t threadID() override { return pthread_mach_thread_np(pthread_self()); }

    std::optional<timespec> startTime() override {
        proc_bsdinfo info = {};
        const int size = ::proc_pidinfo(::getpid(), PROC_PIDTBSDINFO, 0, &info, static_cast<int>(sizeof info));
        if (size != static_cast<int>(sizeof info)) {
            return std::nullopt;
        }
        constexpr long kNanosecondsOfMicrosecond = 1000;
        return timespec{static_cast<time_t>(info.pbi_start_tvsec),
                        static_cast<long>(info.pbi_start_tvusec) * kNanosecondsOfMicrosecond};
    }

    bool closeDescriptorsFrom(int first) override {
        return closeListedDescriptors(first, inheritableDescriptors, ::close);
    }
};

} // namespace

Process& Process::current() {
    static constinit DarwinProcess process;
    return process;
}

} // namespace orvane
