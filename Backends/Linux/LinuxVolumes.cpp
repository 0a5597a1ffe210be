#include "Backends/Linux/MountTable.h"
#include "Platform/Volumes.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <poll.h>
#include <string>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {

namespace {

/// How long a server may take to describe its file system before it counts as unreachable.
constexpr int kPatience = 1000;

/// What only the file system itself knows.
struct Description {
    std::uint64_t blockSize = 0;
    std::uint64_t blocks = 0;
    std::uint64_t availableBlocks = 0;
    std::uint32_t owner = 0; ///< root, who unmounts nothing of a user's, when nobody can tell
    bool isFile = false;     ///< one that is mounted on another, and no volume
    bool isCovered = false;  ///< by another mount, at its place or at a folder above, so that no path leads to it
};

Description described(const MountRecord& record) {
    const char* const path = record.mountPoint.c_str();
    Description description;
    struct statx place = {};
    // What is known already will do: a server need not be asked whether its folder is the one in the way.
    if (::statx(AT_FDCWD, path, AT_STATX_DONT_SYNC, STATX_TYPE | STATX_UID | STATX_MNT_ID, &place) == 0) {
        description.owner = place.stx_uid;
        description.isFile = !S_ISDIR(place.stx_mode);
        description.isCovered = (place.stx_mask & STATX_MNT_ID) != 0 && place.stx_mnt_id != record.mountID;
    } else {
        description.isCovered = errno == ENOENT || errno == ENOTDIR;
    }
    struct statfs status = {};
    if (!description.isCovered && ::statfs(path, &status) == 0) { // or the cover's sizes would pass for its own
        description.blockSize = static_cast<std::uint64_t>(status.f_frsize != 0 ? status.f_frsize : status.f_bsize);
        description.blocks = status.f_blocks;
        description.availableBlocks = status.f_bavail;
    }
    return description;
}

/// In the child: asks, answers through the pipe, ends. It keeps nothing else of the parent's open, or a child
/// that is stuck in the kernel would keep other pipes from ending.
[[noreturn]] void describeAndExit(const MountRecord& record, int answer) {
    if (::dup2(answer, STDIN_FILENO) == STDIN_FILENO) {
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        ::syscall(SYS_close_range, static_cast<unsigned>(STDERR_FILENO + 1), ~0U, 0U);
        const Description description = described(record);
        if (::write(STDIN_FILENO, &description, sizeof description) == sizeof description) {
            ::_exit(EXIT_SUCCESS);
        }
    }
    ::_exit(EXIT_FAILURE);
}

bool becomesReadable(int descriptor) {
    pollfd wanted = {.fd = descriptor, .events = POLLIN, .revents = 0};
    int ready = 0;
    do {
        ready = ::poll(&wanted, 1, kPatience);
    } while (ready < 0 && errno == EINTR);
    return ready == 1;
}

/// The same by a child process: a call to a dead server cannot be interrupted, only left alone.
Description describedByChild(const MountRecord& record) {
    std::array<int, 2> ends = {-1, -1};
    Description description;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return description;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        describeAndExit(record, ends[1]);
    }
    ::close(ends[1]);
    if (child > 0) {
        Description answer;
        if (becomesReadable(ends[0]) && ::read(ends[0], &answer, sizeof answer) == sizeof answer) {
            description = answer;
        } else {
            ::kill(child, SIGKILL);
        }
        // One that even SIGKILL does not reach stays behind; waiting for it would be the hang again.
        for (int attempt = 0; attempt < 100 && ::waitpid(child, nullptr, WNOHANG) == 0; ++attempt) {
            ::poll(nullptr, 0, 1);
        }
    }
    ::close(ends[0]);
    return description;
}

std::string contentsOfFile(const char* path) {
    std::string text;
    if (std::FILE* const file = std::fopen(path, "re")) {
        std::array<char, 4096> buffer = {};
        while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file)) {
            text.append(buffer.data(), count);
        }
        static_cast<void>(std::fclose(file));
    }
    return text;
}

class LinuxVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        struct statvfs status = {};
        if (::statvfs(path, &status) != 0) {
            return std::nullopt;
        }
        return (status.f_flag & ST_NOSUID) != 0 ? kMountNoSetUserID : 0U;
    }

    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override {
        std::vector<MountRecord> records = parseMountInfo(contentsOfFile("/proc/self/mountinfo"));
        if (records.empty()) {
            return std::nullopt;
        }
        addUserOptions(records, contentsOfFile("/run/mount/utab"));
        // A path may lead over any of them.
        const bool mayHang = std::any_of(records.begin(), records.end(), mayNotAnswer);
        std::vector<MountedFileSystem> mounted;
        for (const MountRecord& record : records) {
            const std::uint32_t flags = mountFlags(record);
            Description description;
            if ((flags & kMountDontBrowse) == 0) { // asking an automatic mount would mount it
                description = mayHang ? describedByChild(record) : described(record);
            }
            if (!description.isFile) {
                constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
                mounted.push_back({.mountPoint = record.mountPoint,
                                   .owner = mountingUser(record).value_or(description.owner),
                                   .flags = flags | (description.isCovered ? kMountDontBrowse : 0U),
                                   .blockSize = static_cast<std::uint32_t>(std::min(description.blockSize, kMost)),
                                   .blocks = description.blocks,
                                   .availableBlocks = description.availableBlocks});
            }
        }
        return mounted;
    }
};

} // namespace

Volumes& Volumes::platform() {
    static constinit LinuxVolumes volumes;
    return volumes;
}

} // namespace orvane
