#include "Tasks/OVTaskRunner.h"

namespace orvane {

std::int32_t OVTaskRunner::removeCorruptUserPreferences() {
    return removeCorruptPreferencesInPaths({userLibraryFolder()});
}

std::int32_t OVTaskRunner::removeCorruptPreferencesInPaths(const std::vector<std::string>& paths) {
    std::string line = "/usr/bin/find";
    for (const std::string& path : paths) {
        line += " \"" + path + "\"";
    }
    line += " -path \"*/Preferences/*.plist\" -print0 | xargs -0 /usr/bin/plutil -lint -s | grep 'plist:' | "
            "sed -e 's/plist:.*$/plist/' | xargs rm -fv";
    return runBashCommand(line);
}

std::int32_t OVTaskRunner::cleanStaleTemporaryFiles() {
    const std::string name = kOVSecureEraseFreeSpaceTempFilename;
    return runBashCommand("find /var/folders -name '" + name +
                          "' -print -delete 2>&1 | cat - > /dev/null; find /Volumes/* -name '" + name +
                          "' -maxdepth 1 -print -delete 2>&1 | cat - > /dev/null; true");
}

} // namespace orvane
