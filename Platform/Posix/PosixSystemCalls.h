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
    int chown(const char* path, uid_t owner, gid_t group) override;
    int chmod(const char* path, mode_t mode) override;
    int stat(const char* path, struct stat* status) override;
    pid_t getpgid(pid_t processID) override;
    int killpg(pid_t processGroup, int signal) override;
    int system(const char* line) override;

    int open(const char* path, int flags, mode_t mode) override;
    ssize_t write(int descriptor, const void* bytes, std::size_t count) override;
    int fsync(int descriptor) override;
    int close(int descriptor) override;
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
