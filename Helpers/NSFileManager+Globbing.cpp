#include "Helpers/NSFileManager+Globbing.h"

#include "Support/OVPath.h"

#include <glob.h>
#include <span>

namespace orvane::Globbing {

std::vector<std::string> arrayWithFilesMatchingPattern(std::string_view pattern, std::string_view inDirectory,
                                                       int (*failed)(const char* path, int error)) {
    const std::string search =
        stringByAppendingPathComponent(stringByExpandingTildeInPath(inDirectory), "/" + std::string(pattern));
    std::vector<std::string> paths;
    glob_t matches = {};
    // NOLINTNEXTLINE(concurrency-mt-unsafe): only for tildes, which these flags leave alone
    if (::glob(search.c_str(), 0, failed, &matches) == 0 && matches.gl_pathc > 0) {
        const std::span found(matches.gl_pathv, matches.gl_pathc);
        paths.assign(found.begin(), found.end());
    }
    ::globfree(&matches);
    return paths;
}

} // namespace orvane::Globbing
