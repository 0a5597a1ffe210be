#include "Backends/Linux/MountTable.h"
#include "Platform/Volumes.h"

#include <array>
#include <cerrno>
#include <cstddef>
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
#include <utility>

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
};

Description described(const char* path) {
    Description description;
    struct statfs status = {};
    if (::statfs(path, &status) == 0) {
        description.blockSize = static_cast<std::uint64_t>(status.f_frsize != 0 ? status.f_frsize : status.f_bsize);
        description.blocks = status.f_blocks;
        description.availableBlocks = status.f_bavail;
    }
    struct stat place = {};
    if (::stat(path, &place) == 0) {
        description.owner = place.st_uid;
        description.isFile = !S_ISDIR(place.st_mode);
    }
    return description;
}

/// In the child: asks, answers through the pipe, ends. It keeps nothing else of the parent's open, or a child
/// that is stuck in the kernel would keep other pipes from ending.
[[noreturn]] void describeAndExit(const char* path, int answer) {
    if (::dup2(answer, STDIN_FILENO) == STDIN_FILENO) {
        ::close(STDOUT_FILENO);
        ::close(STDERR_FILENO);
        ::syscall(SYS_close_range, static_cast<unsigned>(STDERR_FILENO + 1), ~0U, 0U);
        const Description description = described(path);
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
Description describedByChild(const char* path) {
    std::array<int, 2> ends = {-1, -1};
    Description description;
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return description;
    }
    const pid_t child = ::fork();
    if (child == 0) {
        describeAndExit(path, ends[1]);
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
    const int file = ::open(path, O_RDONLY | O_CLOEXEC);
    if (file < 0) {
        return text;
    }
    std::array<char, 16384> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init): filled before it is read
    text.reserve(buffer.size());
    while (true) {
        const ssize_t count = ::read(file, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    ::close(file);
    return text;
}

std::uint32_t narrowed(std::uint64_t blockSize) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint32_t>::max();
    return static_cast<std::uint32_t>(blockSize < kMost ? blockSize : kMost);
}

class LinuxVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        struct statvfs status = {};
        if (::statvfs(path, &status) != 0) {
            return std::nullopt;
        }
        std::uint32_t flags = 0;
        if ((status.f_flag & ST_NOSUID) != 0) {
            flags |= kMountNoSetUserID;
        }
        return flags;
    }

    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override {
        const std::string table = contentsOfFile("/proc/self/mountinfo");
        std::vector<MountRecord> records = parseMountInfo(table);
        if (records.empty()) {
            return std::nullopt;
        }
        const std::string userTable = contentsOfFile("/run/mount/utab");
        addUserOptions(records, userTable);
        const std::vector<bool> covered = coveredMounts(records);

        std::vector<MountedFileSystem> mounted;
        for (std::size_t index = 0; index < records.size(); ++index) {
            MountRecord& record = records[index];
            const std::uint32_t flags = mountFlags(record) | (covered[index] ? kMountDontBrowse : 0U);
            const char* const path = record.mountPoint.c_str();
            Description description;
            // A covered one would be mistaken for its cover, and asking an automatic mount would mount it.
            if ((flags & kMountDontBrowse) == 0) {
                description = mayNotAnswer(record) ? describedByChild(path) : described(path);
            }
            if (!description.isFile) {
                mounted.push_back({.mountPoint = std::move(record.mountPoint),
                                   .owner = mountingUser(record).value_or(description.owner),
                                   .flags = flags,
                                   .blockSize = narrowed(description.blockSize),
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
