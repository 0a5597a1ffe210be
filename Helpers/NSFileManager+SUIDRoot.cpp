#include "Helpers/NSFileManager+SUIDRoot.h"

#include "Support/OVLog.h"
#include "Support/OVPath.h"

#include <cerrno>

namespace orvane::SUIDRoot {

namespace {

constexpr uid_t kRoot = 0;
constexpr auto kGroupUnchanged = static_cast<gid_t>(-1);
constexpr mode_t kPermissions = 07777;

/// The regular-file type bits come along as they always have; chmod applies the permission bits alone.
constexpr mode_t kInstalledMode = S_IFREG | 04555;
constexpr mode_t kSurrenderedMode = 0500;

File fileAt(const char* path, SystemCalls& calls) {
    return {path != nullptr ? std::optional<std::string>(path) : std::nullopt, calls};
}

} // namespace

std::int32_t setSUIDRoot(const char* path, SystemCalls& calls) {
    File file = fileAt(path, calls);
    return setSUIDRoot(file, calls);
}

std::int32_t setSUIDRoot(File& file, SystemCalls& calls) {
    const char* const aPath = file.path();
    // NOLINTNEXTLINE(modernize-use-nullptr): the expression's text is what callers see
    OVAssert(aPath != NULL, "-[NSFileManager(SUIDRoot) setSUIDRoot:]");
    const std::string name = lastPathComponent(aPath);

    if (calls.seteuid(kRoot) != 0) {
        OVLog("%s: error %d switching to priviliged uid", name.c_str(), errno);
        return errno; // the log has kept it, here and below
    }
    // From here on a failure deliberately leaves the effective user id at root: the switch back belongs to success.
    if (const std::int32_t error = file.take(); error != 0) {
        return error;
    }
    // The owner first: the bit must only ever stand on a file that root already owns.
    if (file.chown(kRoot, kGroupUnchanged) != 0) {
        file.release();
        OVLog("%s: error changing owner to root", name.c_str());
        return errno;
    }
    if (file.chmod(kInstalledMode) != 0) {
        file.release();
        OVLog("%s: error changing permissions to setuid", name.c_str());
        return errno;
    }
    file.release();
    const int err = calls.seteuid(calls.getuid());
    OVAssert(err == 0, "-[NSFileManager(SUIDRoot) setSUIDRoot:]");
    return 0;
}

std::int32_t surrenderSUIDRoot(const char* path, SystemCalls& calls) {
    File file = fileAt(path, calls);
    return surrenderSUIDRoot(file, calls);
}

std::int32_t surrenderSUIDRoot(File& file, SystemCalls& calls) {
    const char* const aPath = file.path();
    // NOLINTNEXTLINE(modernize-use-nullptr): the expression's text is what callers see
    OVAssert(aPath != NULL, "-[NSFileManager(SUIDRoot) surrenderSUIDRoot:]");
    const std::string name = lastPathComponent(aPath);
    const uid_t user = calls.getuid(); // a file that is taken may change it for that while

    if (calls.seteuid(kRoot) != 0) {
        OVLog("%s: error switching to euid 0", name.c_str());
        return errno;
    }
    if (const std::int32_t error = file.take(); error != 0) {
        return error;
    }
    // The mode first: the bit must be gone before the file is the user's.
    if (file.chmod(kSurrenderedMode) != 0) {
        file.release();
        OVLog("%s: error %d reverting setuid", name.c_str(), errno);
        return errno;
    }
    if (file.chown(user, kGroupUnchanged) != 0) {
        file.release();
        OVLog("%s: error changing owner to actual user id", name.c_str());
        return errno;
    }
    file.release();
    if (calls.seteuid(user) != 0) {
        OVLog("%s: error %d switching back from effective user root", name.c_str(), errno);
        return errno;
    }
    return 0;
}

bool isInstalled(const struct stat& status) {
    return status.st_uid == kRoot && (status.st_mode & kPermissions) == (kInstalledMode & kPermissions);
}

bool isSetUIDRoot(const char* path, SystemCalls& calls) {
    struct stat status = {};
    return path != nullptr && calls.stat(path, &status) == 0 && status.st_uid == kRoot &&
           (status.st_mode & S_ISUID) != 0;
}

bool isIgnoringSetUIDAtPath(const char* path, Volumes& volumes) {
    const auto flags = path != nullptr ? volumes.mountFlagsAtPath(path) : std::nullopt;
    return flags && (*flags & kMountNoSetUserID) != 0;
}

} // namespace orvane::SUIDRoot
