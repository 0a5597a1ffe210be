#include "Platform/Posix/PosixDescriptors.h"
#include "Platform/Process.h"

#include <mach/mach.h>
#include <pthread.h>

namespace orvane {

namespace {

class DarwinProcess final : public Process {
  public:
    std::uint64_t threadID() override { return pthread_mach_thread_np(pthread_self()); }

    bool closeDescriptorsFrom(int first) override {
        return closeListedDescriptors("/dev/fd", first) || closeDescriptorsUpToLimit(first);
    }
};

} // namespace

Process& Process::current() {
    static constinit DarwinProcess process;
    return process;
}

} // namespace orvane
