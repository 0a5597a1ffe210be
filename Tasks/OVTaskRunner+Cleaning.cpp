#include "Helpers/NSFileManager+UniqueDestination.h"
#include "Support/OVFile.h"
#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVDesktopArchive.h"
#include "Tasks/OVTaskLines.h"
#include "Tasks/OVTaskRunner.h"

#include <cerrno>
#include <span>

namespace orvane {

constexpr const char* const kOVBrowserSafari = lines::kSafari.data();
constexpr const char* const kOVBrowserFirefox = lines::kFirefox.data();
constexpr const char* const kOVBrowserChrome = lines::kChrome.data();
constexpr const char* const kOVBrowsersAll = lines::kAllBrowsers.data();

namespace {

struct BackupFolder {
    std::string path;
    std::int32_t error = 0; ///< why it could not be made
};

/// A new folder of that name, or with a number behind it, in the archive.
BackupFolder makeBackupFolder(const std::string& name, const std::string& archive, SystemCalls& calls) {
    BackupFolder folder;
    for (std::string tried;; tried = folder.path) {
        folder.path = UniqueDestination::findUniqueDestinationForFile(name, archive, calls);
        folder.error = calls.mkdir(folder.path.c_str(), 0777) == 0 ? 0 : errno;
        // Somebody was quicker, unless it is one that is there and yet cannot be seen.
        if (folder.error != EEXIST || folder.path == tried) {
            return folder;
        }
    }
}

} // namespace

std::vector<std::string> OVTaskRunner::globsInHome(std::span<const std::string_view> patterns) {
    std::vector<std::string> globs;
    for (const std::string_view pattern : patterns) {
        globs.push_back(inHome(pattern.substr(2))); // behind "~/"
    }
    return globs;
}

std::int32_t OVTaskRunner::cleanUserCache() {
    return forceDeleteItemsAtGlobs(globsInHome(lines::kOwnCaches));
}

std::int32_t OVTaskRunner::cleanDashboardCache() {
    const std::int32_t status = forceDeleteItemsAtGlobs(globsInHome(lines::kDashboardCache));
    relaunchDock();
    return status;
}

std::int32_t OVTaskRunner::removeFilesOfBrowser(std::string_view browser, std::span<const OVTaskRemoval> files) {
    std::vector<std::string> globs;
    for (const OVTaskRemoval& some : files) {
        if (browser == some.onlyFor || browser == kOVBrowsersAll) {
            const std::vector<std::string> more = globsInHome(some.patterns);
            globs.insert(globs.end(), more.begin(), more.end());
        }
    }
    return forceDeleteItemsAtGlobs(globs);
}

std::int32_t OVTaskRunner::cleanBrowserCache(std::string_view browser) {
    return removeFilesOfBrowser(browser, lines::kBrowserCaches);
}

std::int32_t OVTaskRunner::cleanBrowserHistory(std::string_view browser) {
    return removeFilesOfBrowser(browser, lines::kBrowserHistories);
}

std::int32_t OVTaskRunner::cleanDesktop() {
    const std::string desktop = inHome("Desktop");
    const auto owner = delegate();
    const auto archive = owner != nullptr ? owner->archiveDesktopPath() : std::nullopt;
    if (!archive || archive->empty()) {
        return kTaskCancelled;
    }
    const std::string name = desktopArchiveName(services_.bundle(), services_.locale());
    const BackupFolder backup =
        makeBackupFolder(name, stringByExpandingTildeInPath(*archive, services_.calls), services_.calls);
    if (backup.error != 0) {
        OVLogMethod("-[OVTaskRunner cleanDesktop]", "ERROR creating backup folder %s: %s", backup.path.c_str(),
                    errorDescription(backup.error).c_str());
        return kTaskFailure;
    }
    return runCommand("/usr/bin/find", desktopArchiveArguments(desktop, backup.path));
}

std::int32_t OVTaskRunner::vacuumAppleMailIndex() {
    // The folder deliberately stands without quotes.
    const std::string find = stringWithFormat("/usr/bin/find %@ -name 'Envelope Index'", {inHome("Library/Mail")});
    return runBashCommand(
        stringWithFormat("%@ -print0 | xargs -0 -I __FILE__ /usr/bin/sqlite3 __FILE__ vacuum; %@ -ls", {find, find}));
}

std::int32_t OVTaskRunner::rebuildLaunchServices() {
    const std::int32_t status = runBashCommand(
        R"(/System/Library/Frameworks/CoreServices.framework/Frameworks/LaunchServices.framework/Support/lsregister -kill -v -f -r -all local,system,user 2>&1 | grep --line-buffered -v 'lsregister: error -10811')");
    relaunchFinder();
    return status;
}

} // namespace orvane
