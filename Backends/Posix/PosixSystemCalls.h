#pragma once

#include "Platform/SystemCalls.h"

namespace orvane {

/// `SystemCalls` straight to the C library; a base for those that change some of them.
class PosixSystemCalls : public SystemCalls {
  public:
    uid_t getuid() override;
    uid_t geteuid() override;
    int setuid(uid_t userID) override;
    int seteuid(uid_t userID) override;
    int setreuid(uid_t realUserID, uid_t effectiveUserID) override;
    int chown(const char* path, uid_t owner, gid_t group) override;
    int chmod(const char* path, mode_t mode) override;
    int stat(const char* path, struct stat* status) override;
    int lstat(const char* path, struct stat* status) override;
    int fchown(int descriptor, uid_t owner, gid_t group) override;
    int fchmod(int descriptor, mode_t mode) override;
    int fstat(int descriptor, struct stat* status) override;
    int pipe(int* ends) override;
    int fcntl(int descriptor, int command, int argument) override;
    int poll(pollfd* descriptors, nfds_t count, int milliseconds) override;
    ssize_t read(int descriptor, void* buffer, std::size_t size) override;
    ssize_t write(int descriptor, const void* buffer, std::size_t size) override;
    int dup2(int descriptor, int number) override;
    int close(int descriptor) override;
    pid_t fork() override;
    int posix_spawn(pid_t* processID, const char* path, const posix_spawn_file_actions_t* actions,
                    const posix_spawnattr_t* attributes, char* const* arguments) override;
    int sigprocmask(int how, const sigset_t* signals, sigset_t* previous) override;
    pid_t setsid() override;
    int execv(const char* path, char* const* arguments) override;
    pid_t waitpid(pid_t processID, int* status, int options) override;
    pid_t getpgrp() override;
    pid_t getpgid(pid_t processID) override;
    int kill(pid_t processID, int signal) override;
    int killpg(pid_t processGroup, int signal) override;
    int system(const char* line) override;

    int open(const char* path, int flags, mode_t mode) override;
    int fsync(int descriptor) override;
    int rename(const char* from, const char* to) override;
    int unlink(const char* path) override;
    int mkdir(const char* path, mode_t mode) override;

  protected:
    PosixSystemCalls() = default;
    PosixSystemCalls(const PosixSystemCalls&) = default;
    PosixSystemCalls& operator=(const PosixSystemCalls&) = default;
    ~PosixSystemCalls() = default;
};

} // namespace orvane
