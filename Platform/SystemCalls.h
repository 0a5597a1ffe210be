#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/types.h>

namespace orvane {

/// The system calls whose outcome the system acts on.
///
/// Every function does what the POSIX call of its name does: the same arguments, the same result, `errno` set
/// on failure. They stand behind an interface so that tests can make each of them fail.
class SystemCalls {
  public:
    /// The calls of the system that the process runs on. Lives for ever; may be used from any thread.
    static SystemCalls& platform();

    virtual uid_t getuid() = 0;
    virtual uid_t geteuid() = 0;
    virtual int setuid(uid_t userID) = 0;
    virtual int seteuid(uid_t userID) = 0;
    virtual int setreuid(uid_t realUserID, uid_t effectiveUserID) = 0;

    virtual int chown(const char* path, uid_t owner, gid_t group) = 0;
    virtual int chmod(const char* path, mode_t mode) = 0;
    /// `access`, with the real user's rights.
    virtual int access(const char* path, int mode) = 0;
    /// `stat`, following symbolic links.
    virtual int stat(const char* path, struct stat* status) = 0;
    /// `lstat`: of a symbolic link itself.
    virtual int lstat(const char* path, struct stat* status) = 0;
    // The same of an open file.
    virtual int fchown(int descriptor, uid_t owner, gid_t group) = 0;
    virtual int fchmod(int descriptor, mode_t mode) = 0;
    virtual int fstat(int descriptor, struct stat* status) = 0;

    /// `pipe`, but neither end is kept by programs executed later, and neither takes a number from 0 to 2,
    /// even where those are closed.
    virtual int pipe(int* ends) = 0;
    /// `fcntl` with its third argument as a number; 0 for commands without one.
    virtual int fcntl(int descriptor, int command, int argument) = 0;
    virtual int poll(pollfd* descriptors, nfds_t count, int milliseconds) = 0;
    virtual ssize_t read(int descriptor, void* buffer, std::size_t size) = 0;
    virtual ssize_t write(int descriptor, const void* buffer, std::size_t size) = 0;
    virtual int dup2(int descriptor, int number) = 0;
    virtual int close(int descriptor) = 0;

    virtual pid_t fork() = 0;
    /// `posix_spawn` with the caller's environment: 0 or an error number.
    virtual int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                            const posix_spawnattr_t* attributes, char* const* arguments) = 0;
    virtual int sigprocmask(int how, const sigset_t* signals, sigset_t* previous) = 0;
    virtual pid_t setsid() = 0;
    virtual int execv(const char* path, char* const* arguments) = 0;
    virtual pid_t waitpid(pid_t processID, int* status, int options) = 0;

    virtual pid_t getpgrp() = 0;
    virtual pid_t getpgid(pid_t processID) = 0;
    virtual int kill(pid_t processID, int signal) = 0;
    /// `killpg`, but only ever for one process group: C libraries turn group 1 into "every process" and some
    /// turn a negative group into a single process. These answer -1 with `EPERM` and `EINVAL`, and nothing is
    /// signalled.
    virtual int killpg(pid_t processGroup, int signal) = 0;
    /// `system`: runs the line with `/bin/sh -c`, waits, and returns the raw wait status or -1.
    virtual int system(const char* line) = 0;

    // Files.
    /// `open`; the descriptor is close-on-exec.
    virtual int open(const char* path, int flags, mode_t mode) = 0;
    virtual int fsync(int descriptor) = 0;
    virtual int rename(const char* from, const char* to) = 0;
    virtual int unlink(const char* path) = 0;
    virtual int mkdir(const char* path, mode_t mode) = 0;

  protected:
    ~SystemCalls() = default;
};

} // namespace orvane
