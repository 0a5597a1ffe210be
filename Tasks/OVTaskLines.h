#pragma once

#include "Tasks/OVTaskCatalogue.h"

#include <string_view>

/// What the tasks run and on which names, word for word and each in this place alone: for who runs it and for who says
/// what will be run. "%@" is filled in by `stringWithFormat`.
namespace orvane::lines {

// --- the tool's shell lines

/// Around every line of the tool's.
inline constexpr std::string_view kFrame = "/bin/date; %@; /bin/echo; sleep 1; /bin/date;";
/// A period's name, four times. The backslash keeps $p from the shell: it is sed's last line.
inline constexpr std::string_view kMaintenance =
    R"(line_count=0; if [ -a /var/log/%@.out ]; then line_count=`wc -l /var/log/%@.out | awk '{ print $1 }'`; fi; line_count=`expr $line_count + 1`; periodic %@; sed -n -e ${line_count},\$p /var/log/%@.out)";
inline constexpr std::string_view kAllMaintenance = "%@; %@; %@";
inline constexpr std::string_view kCleanSystemCaches =
    R"(mv /Library/Caches/*pictureCache.tiff /tmp/; mv /Library/Caches/com.apple.ATS /tmp/; rm -fvR /Library/Caches/*; mv /tmp/*pictureCache.tiff /Library/Caches/; mv /tmp/com.apple.ATS /Library/Caches/)";
inline constexpr std::string_view kVerifyPreferences =
    R"(/usr/bin/plutil /Library/Preferences/*.plist; /usr/bin/plutil ~/Library/Preferences/*.plist)";
inline constexpr std::string_view kRebuildSpotlightIndex =
    R"(sleep 5; /usr/bin/mdutil -E /; echo; echo Spotlight index has been deleted.; echo; echo In a few moments, the Spotlight menu item, located at the top right hand corner of your display, will automatically start indexing.)";
inline constexpr std::string_view kCleanArchivedLogs =
    R"(/bin/rm -fvR /var/log/*.gz; /usr/bin/find /Library/Logs -name *.log.* -exec /bin/rm -vfR {} \;)";
inline constexpr std::string_view kCleanAllLogs =
    R"(/usr/bin/find /Library/Logs /Users/*/Library/Logs -name *.log -exec /bin/rm -vfR {} \;)";
inline constexpr std::string_view kFlushDNS =
    R"(echo Clearing DNS cache...; killall -HUP mDNSResponder; dscacheutil -flushcache)";
inline constexpr std::string_view kWhatisDatabase = R"(/usr/libexec/makewhatis -v)";
inline constexpr std::string_view kLocateDatabase =
    R"(echo Starting update...; cd /; sudo /usr/libexec/locate.updatedb; echo; echo Ending update...)";
inline constexpr std::string_view kRemoveTemporary = R"(rm -fv -R /var/tmp/*)";
inline constexpr std::string_view kCleanFontCaches =
    R"(echo Clearing font cache...; atsutil databases -remove; sleep 5)";

// --- the runner's

/// The list file, then the command that gets each of its lines.
inline constexpr std::string_view kOnEachPath = "cat %@ | xargs -I __FILE__ %@ '__FILE__'";
inline constexpr std::string_view kForceDelete = "rm -rfv";
inline constexpr std::string_view kSecureDelete = "/usr/bin/srm -v -f -r -m --";
/// The filler file's path, three times.
inline constexpr std::string_view kSecureEraseFreeSpace =
    R"((trap '/bin/rm -fv "%@"' INT TERM EXIT; /bin/dd if=/dev/zero of="%@" bs=1k; /usr/bin/srm -vfmr -- "%@"))";
/// A folder.
inline constexpr std::string_view kRemoveDSStoreFiles =
    R"(/usr/bin/find "%@" -name .DS_Store -type f -print0 | /usr/bin/xargs -0 /bin/rm -fv)";
/// Folders, each by `kQuotedFolder`.
inline constexpr std::string_view kRemoveDamagedPreferences =
    R"(/usr/bin/find%@ -path "*/Preferences/*.plist" -print0 | xargs -0 /usr/bin/plutil -lint -s | grep 'plist:' | sed -e 's/plist:.*$/plist/' | xargs rm -fv)";
inline constexpr std::string_view kQuotedFolder = R"( "%@")";
/// The filler file's name, twice.
inline constexpr std::string_view kCleanStaleTemporaryFiles =
    R"(find /var/folders -name '%@' -print -delete 2>&1 | cat - > /dev/null; find /Volumes/* -name '%@' -maxdepth 1 -print -delete 2>&1 | cat - > /dev/null; true)";

// --- what is removed

using Removal = OVTaskRemoval;
using Way = OVTaskRemoval::Way;
using Names = std::string_view;

inline constexpr Names kSecureEraseTemp = "secure-erase.temp";

inline constexpr Names kUserCachesOfAll[] = {"/Users/*/Library/Caches/*"};
inline constexpr Names kTrash[] = {"/Volumes/*/.Trash/*", "/Volumes/*/.Trashes/*/*", "/Users/*/.Trash/*"};
inline constexpr Names kLibraries[] = {"/Users/*/Library", "/Library"};
inline constexpr Names kOwnLibrary[] = {"~/Library"};
inline constexpr Names kOwnCaches[] = {"~/Library/Caches/*", "~/Library/Containers/*/Data/Library/Caches/*"};
inline constexpr Names kDashboardCache[] = {"~/Library/Caches/com.apple.dashboard.client/*"};
inline constexpr Names kSafariCache[] = {"~/Library/Caches/com.apple.Safari/*"};
inline constexpr Names kFirefoxCache[] = {"~/Library/Caches/Firefox/Profiles/*/*"};
inline constexpr Names kChromeCache[] = {"~/Library/Caches/Google/Chrome/Default/Cache/*"};
inline constexpr Names kSafariHistory[] = {"~/Library/Safari/History.plist"};
inline constexpr Names kFirefoxHistory[] = {"~/Library/*/Firefox/Profiles/*/places.*"};
inline constexpr Names kChromeHistory[] = {"~/Library/Application Support/Google/Chrome/Default/*History*",
                                           "~/Library/Application Support/Google/Chrome/Default/Last *"};

// The first is deliberately not spelled as Safari's cache folder is.
inline constexpr Names kSafari = "com.apple.safari";
inline constexpr Names kFirefox = "org.mozilla.firefox";
inline constexpr Names kChrome = "com.google.chrome";
inline constexpr Names kAllBrowsers = "ALL_BROWSERS";

/// A browser's files, in the order in which the browsers are asked for.
inline constexpr Removal kBrowserCaches[] = {
    {.way = Way::list, .patterns = kSafariCache, .onlyFor = kSafari},
    {.way = Way::list, .patterns = kFirefoxCache, .onlyFor = kFirefox},
    {.way = Way::list, .patterns = kChromeCache, .onlyFor = kChrome},
};
inline constexpr Removal kBrowserHistories[] = {
    {.way = Way::list, .patterns = kSafariHistory, .onlyFor = kSafari},
    {.way = Way::list, .patterns = kFirefoxHistory, .onlyFor = kFirefox},
    {.way = Way::list, .patterns = kChromeHistory, .onlyFor = kChrome},
};

} // namespace orvane::lines
