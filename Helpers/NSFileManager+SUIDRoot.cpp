#include "Helpers/NSFileManager+SUIDRoot.h"

#include "Support/OVAssert.h"
#include "Support/OVLog.h"
#include "Support/OVPath.h"

#include <cerrno>
#include <string>

namespace orvane::SUIDRoot {

namespace {

constexpr uid_t kRoot = 0;
constexpr auto kGroupUnchanged = static_cast<gid_t>(-1);

/// The regular-file type bits come along as they always have; chmod applies the permission bits alone.
constexpr mode_t kInstalledMode = S_IFREG | 04555;
constexpr mode_t kSurrenderedMode = 0500;

} // namespace

std::int32_t setSUIDRoot(File file, SystemCalls& calls) {
    const char* const aPath = file.path;
    // NOLINTNEXTLINE(modernize-use-nullptr): the expression's text is what callers see
    OVAssert(aPath != NULL, "-[NSFileManager(SUIDRoot) setSUIDRoot:]");
    const std::string name = lastPathComponent(aPath);

    if (calls.seteuid(kRoot) != 0) {
        const int error = errno;
        OVLog("%s: error %d switching to priviliged uid", name.c_str(), error);
        return error;
    }
    // The owner first: the bit must only ever stand on a file that root already owns. On failure from here on
    // the effective user id is left at root on purpose: the switch back belongs to success alone.
    if (calls.chown(file.reference, kRoot, kGroupUnchanged) != 0) {
        const int error = errno;
        OVLog("%s: error changing owner to root", name.c_str());
        return error;
    }
    if (calls.chmod(file.reference, kInstalledMode) != 0) {
        const int error = errno;
        OVLog("%s: error changing permissions to setuid", name.c_str());
        return error;
    }
    const int err = calls.seteuid(calls.getuid());
    OVAssert(err == 0, "-[NSFileManager(SUIDRoot) setSUIDRoot:]");
    return 0;
}

std::int32_t surrenderSUIDRoot(File file, SystemCalls& calls) {
    const char* const aPath = file.path;
    // NOLINTNEXTLINE(modernize-use-nullptr): the expression's text is what callers see
    OVAssert(aPath != NULL, "-[NSFileManager(SUIDRoot) surrenderSUIDRoot:]");
    const std::string name = lastPathComponent(aPath);

    if (calls.seteuid(kRoot) != 0) {
        const int error = errno;
        OVLog("%s: error switching to euid 0", name.c_str());
        return error;
    }
    // The mode first: the bit must be gone before the file is the user's.
    if (calls.chmod(file.reference, kSurrenderedMode) != 0) {
        const int error = errno;
        OVLog("%s: error %d reverting setuid", name.c_str(), error);
        return error;
    }
    if (calls.chown(file.reference, calls.getuid(), kGroupUnchanged) != 0) {
        const int error = errno;
        OVLog("%s: error changing owner to actual user id", name.c_str());
        return error;
    }
    if (calls.seteuid(calls.getuid()) != 0) {
        const int error = errno;
        OVLog("%s: error %d switching back from effective user root", name.c_str(), error);
        return error;
    }
    return 0;
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
