#include "Backends/Posix/PosixSystemCalls.h"

#include "Backends/Posix/PosixDescriptors.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

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

int PosixSystemCalls::setreuid(uid_t realUserID, uid_t effectiveUserID) {
    return ::setreuid(realUserID, effectiveUserID);
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

int PosixSystemCalls::lstat(const char* path, struct stat* status) {
    return ::lstat(path, status);
}

int PosixSystemCalls::fchown(int descriptor, uid_t owner, gid_t group) {
    return ::fchown(descriptor, owner, group);
}

int PosixSystemCalls::fchmod(int descriptor, mode_t mode) {
    return ::fchmod(descriptor, mode);
}

int PosixSystemCalls::fstat(int descriptor, struct stat* status) {
    return ::fstat(descriptor, status);
}

int PosixSystemCalls::pipe(int* ends) {
    return openPipe(ends);
}

int PosixSystemCalls::fcntl(int descriptor, int command, int argument) {
    return ::fcntl(descriptor, command, argument);
}

int PosixSystemCalls::poll(pollfd* descriptors, nfds_t count, int milliseconds) {
    return ::poll(descriptors, count, milliseconds);
}

ssize_t PosixSystemCalls::read(int descriptor, void* buffer, std::size_t size) {
    return ::read(descriptor, buffer, size);
}

ssize_t PosixSystemCalls::write(int descriptor, const void* buffer, std::size_t size) {
    return ::write(descriptor, buffer, size);
}

int PosixSystemCalls::dup2(int descriptor, int number) {
    return ::dup2(descriptor, number);
}

int PosixSystemCalls::close(int descriptor) {
    return ::close(descriptor);
}

pid_t PosixSystemCalls::fork() {
    return ::fork();
}

int PosixSystemCalls::posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                                  const posix_spawnattr_t* attributes, char* const* arguments) {
    return ::posix_spawn(processID, path, actions, attributes, arguments, environ);
}

int PosixSystemCalls::sigprocmask(int how, const sigset_t* signals, sigset_t* previous) {
    return ::sigprocmask(how, signals, previous); // NOLINT(concurrency-mt-unsafe): for a child, which has one thread
}

pid_t PosixSystemCalls::setsid() {
    return ::setsid();
}

int PosixSystemCalls::execv(const char* path, char* const* arguments) {
    return ::execv(path, arguments);
}

pid_t PosixSystemCalls::waitpid(pid_t processID, int* status, int options) {
    return ::waitpid(processID, status, options);
}

pid_t PosixSystemCalls::getpgrp() {
    return ::getpgrp();
}

pid_t PosixSystemCalls::getpgid(pid_t processID) {
    return ::getpgid(processID);
}

int PosixSystemCalls::kill(pid_t processID, int signal) {
    return ::kill(processID, signal);
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

int PosixSystemCalls::fsync(int descriptor) {
    return ::fsync(descriptor);
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
