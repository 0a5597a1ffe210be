#pragma once

#include "Backends/Posix/PosixDescriptors.h"
#include "Platform/SystemCalls.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace orvane {

/// `SystemCalls` straight to the C library; a base for those that change some of them.
class PosixSystemCalls : public SystemCalls {
  public:
    uid_t getuid() override { return ::getuid(); }
    uid_t geteuid() override { return ::geteuid(); }
    int setuid(uid_t userID) override { return ::setuid(userID); }
    int seteuid(uid_t userID) override { return ::seteuid(userID); }
    int setreuid(uid_t realUserID, uid_t effectiveUserID) override { return ::setreuid(realUserID, effectiveUserID); }

    int chown(const char* path, uid_t owner, gid_t group) override { return ::chown(path, owner, group); }
    int chmod(const char* path, mode_t mode) override { return ::chmod(path, mode); }
    int access(const char* path, int mode) override { return ::access(path, mode); }
    int stat(const char* path, struct stat* status) override { return ::stat(path, status); }
    int lstat(const char* path, struct stat* status) override { return ::lstat(path, status); }
    int fchown(int descriptor, uid_t owner, gid_t group) override { return ::fchown(descriptor, owner, group); }
    int fchmod(int descriptor, mode_t mode) override { return ::fchmod(descriptor, mode); }
    int fstat(int descriptor, struct stat* status) override { return ::fstat(descriptor, status); }

    int pipe(int* ends) override { return openPipe(ends); }
    int fcntl(int descriptor, int command, int argument) override { return ::fcntl(descriptor, command, argument); }
    int poll(pollfd* descriptors, nfds_t count, int milliseconds) override {
        return ::poll(descriptors, count, milliseconds);
    }
    ssize_t read(int descriptor, void* buffer, std::size_t size) override { return ::read(descriptor, buffer, size); }
    ssize_t write(int descriptor, const void* buffer, std::size_t size) override {
        return ::write(descriptor, buffer, size);
    }
    int dup2(int descriptor, int number) override { return ::dup2(descriptor, number); }
    int close(int descriptor) override { return ::close(descriptor); }

    pid_t fork() override { return ::fork(); }
    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override {
        return ::posix_spawn(processID, path, actions, attributes, arguments, environ);
    }
    int sigprocmask(int how, const sigset_t* signals, sigset_t* previous) override {
        return ::sigprocmask(how, signals, previous); // NOLINT(concurrency-mt-unsafe): a child's, which has one thread
    }
    pid_t setsid() override { return ::setsid(); }
    int execv(const char* path, char* const* arguments) override { return ::execv(path, arguments); }
    pid_t waitpid(pid_t processID, int* status, int options) override { return ::waitpid(processID, status, options); }

    pid_t getpgrp() override { return ::getpgrp(); }
    pid_t getpgid(pid_t processID) override { return ::getpgid(processID); }
    int kill(pid_t processID, int signal) override { return ::kill(processID, signal); }
    int killpg(pid_t processGroup, int signal) override;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): the callers are single-threaded
    int system(const char* line) override { return std::system(line); }

    int open(const char* path, int flags, mode_t mode) override { return openCloseOnExec(path, flags, mode); }
    int fsync(int descriptor) override { return ::fsync(descriptor); }
    int rename(const char* from, const char* to) override { return std::rename(from, to); }
    int unlink(const char* path) override { return ::unlink(path); }
    int mkdir(const char* path, mode_t mode) override { return ::mkdir(path, mode); }

  protected:
    ~PosixSystemCalls() = default;
};

} // namespace orvane
