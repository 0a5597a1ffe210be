#include "Helper Tool/OwnExecutable.h"

#include "Support/OVLog.h"
#include "Support/OVPath.h"

#include <cerrno>
#include <ctime>

namespace orvane {

namespace {

constexpr uid_t kRoot = 0;

/// Whether a change that carries the one time may have been made at the other or later. Kernels date by the tick of
/// their clock, up to a hundredth of a second behind; some file systems keep whole seconds.
bool mayBeAtOrAfter(const timespec& change, const timespec& other) {
    constexpr long kTick = 10'000'000;
    constexpr long kSecond = 1'000'000'000;
    timespec latest = change;
    latest.tv_nsec += change.tv_nsec == 0 ? kSecond : kTick;
    if (latest.tv_nsec >= kSecond) {
        latest.tv_nsec -= kSecond;
        ++latest.tv_sec;
    }
    return latest.tv_sec != other.tv_sec ? latest.tv_sec > other.tv_sec : latest.tv_nsec >= other.tv_nsec;
}

} // namespace

OwnExecutable::OwnExecutable(SystemCalls& calls, Executable& executable, Process& process)
    : File(executable.executablePath(), calls), executable_(executable), process_(process), user_(calls.getuid()) {}

std::int32_t OwnExecutable::take() {
    descriptor_ = executable_.openExecutable();
    if (user_ == kRoot) {
        return 0;
    }
    if (descriptor_ == -1) {
        return refuse(EPERM, "the running executable cannot be told from its name, only root may change it");
    }
    sigset_t all;
    sigfillset(&all);
    calls_.sigprocmask(SIG_BLOCK, &all, &signals_);
    isOutOfReach_ = true;
    if (calls_.setreuid(kRoot, kRoot) != 0) {
        return refuse(errno, "the process cannot leave its user's reach, the file is left as it is");
    }
    if (!isAsAtStart()) {
        return refuse(EAGAIN, "the file has just been changed (since this process was started, or right before), it is "
                              "left as it is");
    }
    return 0;
}

bool OwnExecutable::isAsAtStart() {
    const std::optional<timespec> start = process_.startTime();
    struct stat status = {};
    // The last thing before the change.
    if (calls_.fstat(descriptor_, &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    return SUIDRoot::isInstalled(status) || (start && !mayBeAtOrAfter(statusChangeTime(status), *start));
}

int OwnExecutable::chown(uid_t owner, gid_t group) {
    return descriptor_ != -1 ? calls_.fchown(descriptor_, owner, group) : File::chown(owner, group);
}

int OwnExecutable::chmod(mode_t mode) {
    return descriptor_ != -1 ? calls_.fchmod(descriptor_, mode) : File::chmod(mode);
}

void OwnExecutable::release() {
    const int error = errno;
    if (descriptor_ != -1) {
        calls_.close(descriptor_);
    }
    if (isOutOfReach_) {
        const int err = calls_.setreuid(user_, kRoot);
        OVAssert(err == 0, "OwnExecutable::release");
        calls_.sigprocmask(SIG_SETMASK, &signals_, nullptr);
    }
    errno = error;
}

std::int32_t OwnExecutable::refuse(std::int32_t error, const char* reason) {
    release();
    OVLog("%s: %s", lastPathComponent(path()).c_str(), reason);
    return error;
}

} // namespace orvane
