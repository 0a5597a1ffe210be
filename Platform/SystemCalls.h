#pragma once

#include <cstddef>
#include <cstdint>
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

    virtual int chown(const char* path, uid_t owner, gid_t group) = 0;
    virtual int chmod(const char* path, mode_t mode) = 0;
    /// `stat`, following symbolic links.
    virtual int stat(const char* path, struct stat* status) = 0;

    virtual pid_t getpgid(pid_t processID) = 0;
    /// `killpg`, but only ever for one process group: C libraries turn group 1 into "every process" and some
    /// turn a negative group into a single process. These answer -1 with `EPERM` and `EINVAL`, and nothing is
    /// signalled.
    virtual int killpg(pid_t processGroup, int signal) = 0;
    /// `system`: runs the line with `/bin/sh -c`, waits, and returns the raw wait status or -1.
    virtual int system(const char* line) = 0;

    // Files.
    virtual int open(const char* path, int flags, mode_t mode) = 0;
    virtual ssize_t write(int descriptor, const void* bytes, std::size_t count) = 0;
    virtual int fsync(int descriptor) = 0;
    virtual int close(int descriptor) = 0;
    virtual int rename(const char* from, const char* to) = 0;
    virtual int unlink(const char* path) = 0;
    virtual int mkdir(const char* path, mode_t mode) = 0;

  protected:
    SystemCalls() = default;
    SystemCalls(const SystemCalls&) = default;
    SystemCalls& operator=(const SystemCalls&) = default;
    ~SystemCalls() = default;
};

} // namespace orvane
