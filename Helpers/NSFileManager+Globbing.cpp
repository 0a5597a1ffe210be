#include "Helpers/NSFileManager+Globbing.h"

#include "Support/OVPath.h"

#include <cerrno>
#include <glob.h>
#include <span>

namespace orvane::Globbing {

namespace {

/// `glob` hands its caller nothing but a path.
thread_local std::vector<std::string>* unreadableFolders = nullptr;

int noteUnreadable(const char* path, int error) {
    if (error == EACCES || error == EPERM) {
        unreadableFolders->emplace_back(path);
    }
    return 0; // on with the others
}

} // namespace

std::vector<std::string> arrayWithFilesMatchingPattern(std::string_view pattern, std::string_view inDirectory,
                                                       std::vector<std::string>* unreadable) {
    const std::string search =
        stringByAppendingPathComponent(stringByExpandingTildeInPath(inDirectory), "/" + std::string(pattern));
    std::vector<std::string> paths;
    glob_t matches = {};
    unreadableFolders = unreadable;
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only for tildes, which these flags leave alone
    if (::glob(search.c_str(), 0, unreadable != nullptr ? noteUnreadable : nullptr, &matches) == 0 &&
        matches.gl_pathc > 0) {
        const std::span found(matches.gl_pathv, matches.gl_pathc);
        paths.assign(found.begin(), found.end());
    }
    ::globfree(&matches);
    return paths;
}

} // namespace orvane::Globbing
