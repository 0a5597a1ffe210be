#include "Platform/Posix/PosixSystemCalls.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

uid_t PosixSystemCalls::getuid() {
    return ::getuid();
}

uid_t PosixSystemCalls::geteuid() {
    return ::geteuid();
}

int PosixSystemCalls::setuid(uid_t userID) {
    return ::setuid(userID);
}

int PosixSystemCalls::seteuid(uid_t userID) {
    return ::seteuid(userID);
}

int PosixSystemCalls::chown(const char* path, uid_t owner, gid_t group) {
    return ::chown(path, owner, group);
}

int PosixSystemCalls::chmod(const char* path, mode_t mode) {
    return ::chmod(path, mode);
}

int PosixSystemCalls::stat(const char* path, struct stat* status) {
    return ::stat(path, status);
}

pid_t PosixSystemCalls::getpgid(pid_t processID) {
    return ::getpgid(processID);
}

int PosixSystemCalls::killpg(pid_t processGroup, int signal) {
    // killpg is kill(-group) in disguise: group 1 would reach every process there is, group -1 process 1.
    if (processGroup == 1 || processGroup < 0) {
        errno = processGroup == 1 ? EPERM : EINVAL;
        return -1;
    }
    return ::killpg(processGroup, signal);
}

int PosixSystemCalls::system(const char* line) {
    return std::system(line); // NOLINT(concurrency-mt-unsafe): the callers are single-threaded
}

int PosixSystemCalls::open(const char* path, int flags, mode_t mode) {
    return ::open(path, flags, mode);
}

ssize_t PosixSystemCalls::write(int descriptor, const void* bytes, std::size_t count) {
    return ::write(descriptor, bytes, count);
}

int PosixSystemCalls::fsync(int descriptor) {
    return ::fsync(descriptor);
}

int PosixSystemCalls::close(int descriptor) {
    return ::close(descriptor);
}

int PosixSystemCalls::rename(const char* from, const char* to) {
    return std::rename(from, to);
}

int PosixSystemCalls::unlink(const char* path) {
    return ::unlink(path);
}

int PosixSystemCalls::mkdir(const char* path, mode_t mode) {
    return ::mkdir(path, mode);
}

SystemCalls& SystemCalls::platform() {
    class Calls final : public PosixSystemCalls {};
    static constinit Calls calls;
    return calls;
}

} // namespace orvane
