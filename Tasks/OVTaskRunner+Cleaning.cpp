#include "Helpers/NSFileManager+UniqueDestination.h"
#include "Support/OVFile.h"
#include "Support/OVFormat.h"
#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"

#include <cerrno>
#include <span>

namespace orvane {

// The first is deliberately not spelled as Safari's cache folder is.
constexpr const char* const kOVBrowserSafari = "com.apple.safari";
constexpr const char* const kOVBrowserFirefox = "org.mozilla.firefox";
constexpr const char* const kOVBrowserChrome = "com.google.chrome";
constexpr const char* const kOVBrowsersAll = "ALL_BROWSERS";

namespace {

/// Files of a browser, in the user's home folder.
struct BrowserFiles {
    std::string_view browser;
    std::string_view glob;
};

constexpr BrowserFiles kBrowserCaches[] = {
    {kOVBrowserSafari, "Library/Caches/com.apple.Safari/*"},
    {kOVBrowserFirefox, "Library/Caches/Firefox/Profiles/*/*"},
    {kOVBrowserChrome, "Library/Caches/Google/Chrome/Default/Cache/*"},
};

constexpr BrowserFiles kBrowserHistories[] = {
    {kOVBrowserSafari, "Library/Safari/History.plist"},
    {kOVBrowserFirefox, "Library/*/Firefox/Profiles/*/places.*"},
    {kOVBrowserChrome, "Library/Application Support/Google/Chrome/Default/*History*"},
    {kOVBrowserChrome, "Library/Application Support/Google/Chrome/Default/Last *"},
};

std::vector<std::string> globsOf(std::string_view browser, std::span<const BrowserFiles> files,
                                 const std::string& home) {
    std::vector<std::string> globs;
    for (const BrowserFiles& some : files) {
        if (browser == some.browser || browser == kOVBrowsersAll) {
            globs.push_back(stringByAppendingPathComponent(home, some.glob));
        }
    }
    return globs;
}

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

std::int32_t OVTaskRunner::cleanUserCache() {
    return forceDeleteItemsAtGlobs({inHome("Library/Caches/*"), inHome("Library/Containers/*/Data/Library/Caches/*")});
}

std::int32_t OVTaskRunner::cleanDashboardCache() {
    const std::int32_t status = forceDeleteItemsAtGlobs({inHome("Library/Caches/com.apple.dashboard.client/*")});
    relaunchDock();
    return status;
}

std::int32_t OVTaskRunner::cleanBrowserCache(std::string_view browser) {
    return forceDeleteItemsAtGlobs(globsOf(browser, kBrowserCaches, homeDirectory()));
}

std::int32_t OVTaskRunner::cleanBrowserHistory(std::string_view browser) {
    return forceDeleteItemsAtGlobs(globsOf(browser, kBrowserHistories, homeDirectory()));
}

std::int32_t OVTaskRunner::cleanDesktop() {
    const std::string desktop = inHome("Desktop");
    const auto owner = delegate();
    const auto archive = owner != nullptr ? owner->archiveDesktopPath() : std::nullopt;
    if (!archive || archive->empty()) {
        return kTaskCancelled;
    }
    Bundle& bundle = services_.bundle();
    const std::string date = services_.locale().dateString();
    const std::string name =
        stringWithFormat(bundle.localizedString("Desktop from %@"), date).value_or("Desktop from " + date);
    const BackupFolder backup =
        makeBackupFolder(name, stringByExpandingTildeInPath(*archive, services_.calls), services_.calls);
    if (backup.error != 0) {
        OVLogMethod("-[OVTaskRunner cleanDesktop]", "ERROR creating backup folder %s: %s", backup.path.c_str(),
                    errorDescription(backup.error).c_str());
        return kTaskFailure;
    }
    // The second test deliberately compares names with a whole path, which none equals: an archive on the desktop is
    // told to move into itself, and "mv" complains.
    return runCommand("/usr/bin/find", {desktop, "!", "-name", ".*", "!", "-name", backup.path, "-mindepth", "1",
                                        "-maxdepth", "1", "-exec", "mv", "{}", backup.path, ";"});
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
