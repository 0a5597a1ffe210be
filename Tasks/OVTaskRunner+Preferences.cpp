#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

std::int32_t OVTaskRunner::removeCorruptUserPreferences() {
    return removeCorruptPreferencesInPaths({userLibraryFolder()});
}

std::int32_t OVTaskRunner::removeCorruptPreferencesInPaths(const std::vector<std::string>& paths) {
    std::string line = "/usr/bin/find";
    for (const std::string& path : paths) {
        line += stringWithFormat(R"( "%@")", {path});
    }
    line +=
        R"( -path "*/Preferences/*.plist" -print0 | xargs -0 /usr/bin/plutil -lint -s | grep 'plist:' | sed -e 's/plist:.*$/plist/' | xargs rm -fv)";
    return runBashCommand(line);
}

std::int32_t OVTaskRunner::cleanStaleTemporaryFiles() {
    return runBashCommand(stringWithFormat(
        R"(find /var/folders -name '%@' -print -delete 2>&1 | cat - > /dev/null; find /Volumes/* -name '%@' -maxdepth 1 -print -delete 2>&1 | cat - > /dev/null; true)",
        {kOVSecureEraseFreeSpaceTempFilename, kOVSecureEraseFreeSpaceTempFilename}));
}

} // namespace orvane
