#include "Backends/Posix/PosixSystemCalls.h"

#include <cerrno>

namespace orvane {

int PosixSystemCalls::killpg(pid_t processGroup, int signal) {
    // killpg is kill(-group) in disguise: group 1 would reach every process there is, group -1 process 1.
    if (processGroup == 1 || processGroup < 0) {
        errno = processGroup == 1 ? EPERM : EINVAL;
        return -1;
    }
    return ::killpg(processGroup, signal);
}

SystemCalls& SystemCalls::platform() {
    class Calls final : public PosixSystemCalls {};
    static constinit Calls calls;
    return calls;
}

} // namespace orvane
