#include "Tasks/OVTaskCatalogue.h"

#include "Tasks/OVTaskLines.h"

#include <algorithm>

namespace orvane {

namespace {

using Removal = OVTaskRemoval;
using Way = OVTaskRemoval::Way;
using Tier = OVTaskTier;
using Names = std::string_view;
using Need = OVTaskNeed;

// --- what the lines say themselves: that it is said there is checked below

constexpr Names kKeptCaches[] = {"/Library/Caches/*pictureCache.tiff", "/Library/Caches/com.apple.ATS"};
constexpr Names kSystemCaches[] = {"/Library/Caches/*"};
constexpr Removal kSystemCacheRemovals[] = {{.way = Way::aside, .patterns = kKeptCaches, .predicate = "/tmp"},
                                            {.way = Way::shell, .patterns = kSystemCaches}};

constexpr Names kArchivedLogs[] = {"/var/log/*.gz"};
constexpr Names kSystemLogs[] = {"/Library/Logs"};
constexpr Removal kArchivedLogRemovals[] = {
    {.way = Way::shell, .patterns = kArchivedLogs},
    {.way = Way::find, .patterns = kSystemLogs, .predicate = "*.log.*"},
};

constexpr Names kAllLogs[] = {"/Library/Logs", "/Users/*/Library/Logs"};
constexpr Removal kAllLogRemovals[] = {{.way = Way::find, .patterns = kAllLogs, .predicate = "*.log"}};

constexpr Names kTemporary[] = {"/var/tmp/*"};
constexpr Removal kTemporaryRemovals[] = {{.way = Way::shell, .patterns = kTemporary}};

constexpr Names kArgument[] = {"@"};
constexpr Names kFiller[] = {"@/secure-erase.temp"};
constexpr Removal kFillerRemovals[] = {{.way = Way::shell, .patterns = kFiller}};

constexpr Names kPreferencesPattern = "*/Preferences/*.plist";
constexpr Removal kDamagedOfAll[] = {
    {.way = Way::damaged, .patterns = lines::kLibraries, .predicate = kPreferencesPattern}};
constexpr Removal kDamagedOwn[] = {
    {.way = Way::damaged, .patterns = lines::kOwnLibrary, .predicate = kPreferencesPattern}};

constexpr Names kDSStore = ".DS_Store";
constexpr Names kHome[] = {"~"};
constexpr Removal kDSStoreRemovals[] = {{.way = Way::findFiles, .patterns = kArgument, .predicate = kDSStore}};
constexpr Removal kDSStoreAtHomeRemovals[] = {{.way = Way::findFiles, .patterns = kHome, .predicate = kDSStore}};

constexpr Names kTemporaryOfUsers[] = {"/var/folders"};
constexpr Names kVolumes[] = {"/Volumes/*"};
constexpr Removal kStaleRemovals[] = {
    {.way = Way::findEmptied, .patterns = kTemporaryOfUsers, .predicate = lines::kSecureEraseTemp},
    {.way = Way::findEmptied, .patterns = kVolumes, .predicate = lines::kSecureEraseTemp, .maxDepth = 1},
};

constexpr Names kDesktop[] = {"~/Desktop"};
constexpr Removal kDesktopRemovals[] = {{.way = Way::move, .patterns = kDesktop, .predicate = ".*", .maxDepth = 1}};

// --- what the runner expands itself

constexpr Removal kUserCacheRemovals[] = {{.way = Way::list, .patterns = lines::kUserCachesOfAll}};
constexpr Removal kTrashRemovals[] = {{.way = Way::list, .patterns = lines::kTrash}};
constexpr Removal kTrashOverwritten[] = {{.way = Way::overwrite, .patterns = lines::kTrash}};
constexpr Removal kOwnCacheRemovals[] = {{.way = Way::list, .patterns = lines::kOwnCaches}};
constexpr Removal kDashboardRemovals[] = {{.way = Way::list, .patterns = lines::kDashboardCache}};
constexpr Removal kChosen[] = {{.way = Way::list, .patterns = kArgument}};
constexpr Removal kChosenOverwritten[] = {{.way = Way::overwrite, .patterns = kArgument}};

// --- no description without its line

/// Whether the text holds the word with nothing of a word at either side.
constexpr bool holdsWord(std::string_view text, std::string_view word) {
    const auto ends = [](char c) { return std::string_view(" ;'\"").find(c) != std::string_view::npos; };
    for (std::size_t at = text.find(word); at != std::string_view::npos; at = text.find(word, at + 1)) {
        const std::size_t end = at + word.size();
        if ((at == 0 || ends(text[at - 1])) && (end == text.size() || ends(text[end]))) {
            return true;
        }
    }
    return false;
}

constexpr bool standIn(std::string_view line, std::span<const Removal> removals) {
    return std::all_of(removals.begin(), removals.end(), [&](const Removal& removal) {
        return std::all_of(removal.patterns.begin(), removal.patterns.end(),
                           [&](std::string_view pattern) { return holdsWord(line, pattern); });
    });
}

static_assert(standIn(lines::kCleanSystemCaches, kSystemCacheRemovals));
static_assert(holdsWord(lines::kCleanSystemCaches, "/tmp/*pictureCache.tiff") &&
              holdsWord(lines::kCleanSystemCaches, "/tmp/com.apple.ATS"));
static_assert(standIn(lines::kCleanArchivedLogs, kArchivedLogRemovals));
static_assert(lines::kCleanArchivedLogs.find(" /Library/Logs -name *.log.* -exec /bin/rm -vfR {} ") !=
              std::string_view::npos);
static_assert(standIn(lines::kCleanAllLogs, kAllLogRemovals));
static_assert(lines::kCleanAllLogs.find("/Logs -name *.log -exec /bin/rm -vfR {} ") != std::string_view::npos);
static_assert(standIn(lines::kRemoveTemporary, kTemporaryRemovals));
static_assert(kFiller[0].ends_with(lines::kSecureEraseTemp));
static_assert(holdsWord(lines::kRemoveDamagedPreferences, kPreferencesPattern));
static_assert(holdsWord(lines::kRemoveDSStoreFiles, kDSStore));
static_assert(holdsWord(lines::kCleanStaleTemporaryFiles, "/var/folders") &&
              lines::kCleanStaleTemporaryFiles.find("find /Volumes/* -name '%@' -maxdepth 1 ") !=
                  std::string_view::npos);

constexpr Need kDiskutil[] = {{"/usr/sbin/diskutil"}};
constexpr Need kRepair[] = {{"/usr/sbin/diskutil"},
                            {.name = "diskutil repairPermissions", .goneSince = "10.11", .isProgram = false}};
constexpr Need kPeriodic[] = {{"periodic", "15"}, {"awk"}, {"expr"}, {"sed"}, {"wc"}};
constexpr Need kPlutil[] = {{"/usr/bin/plutil"}};
constexpr Need kMdutil[] = {{"/usr/bin/mdutil"}};
constexpr Need kFlush[] = {{"killall"}, {"dscacheutil"}};
constexpr Need kMakewhatis[] = {{.name = "/usr/libexec/makewhatis", .goneSince = "13", .isSure = false}};
constexpr Need kUpdatedb[] = {{"sudo"}, {"/usr/libexec/locate.updatedb"}};
constexpr Need kAtsutil[] = {{.name = "atsutil", .goneSince = "14", .isSure = false}};
constexpr Need kSrm[] = {{"/usr/bin/srm", "10.12"}};
constexpr Need kDdAndSrm[] = {{"/bin/dd"}, {"/usr/bin/srm", "10.12"}};
constexpr Need kDashboard[] = {{.name = "Dashboard", .goneSince = "10.15", .isProgram = false}};
constexpr Need kSafarisHistory[] = {
    {.name = "~/Library/Safari/History.plist", .goneSince = "10.10", .isProgram = false}};
constexpr Need kScreenSaver[] = {
    {.name = "ScreenSaverEngine.app", .goneSince = "10.13", .isSure = false, .isProgram = false}};
constexpr Need kSqlite[] = {{"/usr/bin/sqlite3"}};
constexpr Need kLsregister[] = {{"/System/Library/Frameworks/CoreServices.framework/Frameworks/"
                                 "LaunchServices.framework/Support/lsregister"},
                                {.name = "lsregister -kill", .goneSince = "15", .isSure = false, .isProgram = false}};
constexpr Need kKillall[] = {{"/usr/bin/killall"}};
constexpr Need kNetworksetup[] = {{"/usr/sbin/networksetup"}};
constexpr Need kDu[] = {{"/usr/bin/du"}};

// --- headings

constexpr Names kDisks = "Disks and volumes";
constexpr Names kScripts = "Maintenance scripts";
constexpr Names kCaches = "Caches";
constexpr Names kPreferences = "Preferences";
constexpr Names kLogs = "Logs and temporary files";
constexpr Names kTrashAndFiles = "Trash and files";
constexpr Names kIndexes = "Indexes and databases";
constexpr Names kBrowsers = "Browsers";
constexpr Names kProcesses = "Applications and processes";
constexpr Names kSettings = "Settings";
constexpr Names kComputer = "The computer";

// --- what is said more than once

constexpr Names kSeconds = "A few seconds.";
constexpr Names kMinutes = "Some minutes.";
constexpr Names kAsFiles = "Seconds; a minute for every hundred thousand files or so.";
constexpr Names kGone = "The files are gone; they do not go to the trash.";
constexpr Names kOverwritten = "The files are overwritten; no program can bring them back.";
constexpr Names kUnsaved = "What has not been saved is lost.";
constexpr Names kToggled = "Run it again to have it as it was.";

constexpr OVTaskDescription kTasks[] = {
    // --- the tool's
    {.name = "repairPermissions",
     .group = kDisks,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Repairs the permissions of the startup volume with diskutil.",
     .why = "Installers leave files with wrong permissions behind, and programs then fail to start or to save.",
     .kept = "The files of users are not touched. From OS X 10.11 on the system repairs its permissions itself, and "
             "diskutil says so.",
     .duration = "Five to twenty minutes.",
     .needs = kRepair},
    {.name = "crondailyleo",
     .group = kScripts,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Runs the daily maintenance scripts and shows what they add to /var/log/daily.out.",
     .why = "The system runs them at night; on a computer that sleeps then they may not have run for long.",
     .undo = "What the scripts remove, old temporary and crash files, does not come back.",
     .duration = kMinutes,
     .needs = kPeriodic},
    {.name = "cronweeklyleo",
     .group = kScripts,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Runs the weekly maintenance scripts and shows what they add to /var/log/weekly.out.",
     .why = "They build the databases of locate and whatis again, at a time when many computers are asleep.",
     .duration = "Some minutes; more on a full disk.",
     .needs = kPeriodic},
    {.name = "cronmonthlyleo",
     .group = kScripts,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Runs the monthly maintenance scripts and shows what they add to /var/log/monthly.out.",
     .why = "They turn logs over and add up who was logged in, at a time when many computers are asleep.",
     .duration = kMinutes,
     .needs = kPeriodic},
    {.name = "cronallleo",
     .group = kScripts,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Runs the daily, weekly and monthly maintenance scripts one after the other.",
     .why = "For a computer that is never on at night.",
     .undo = "What the scripts remove, old temporary and crash files, does not come back.",
     .duration = "Some minutes; more on a full disk.",
     .needs = kPeriodic},
    {.name = "csc",
     .group = kCaches,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Removes the caches in /Library/Caches but keeps the login pictures and the font cache.",
     .why = "A damaged cache makes programs slow or wrong, and caches of programs that are gone take room.",
     .kept = "Names that begin with a dot, and *pictureCache.tiff and com.apple.ATS, which wait in /tmp meanwhile. Of "
             "what has these names in /tmp already, the same name is overwritten and all else comes along.",
     .undo = "Programs fill their caches again as they need them.",
     .duration = kAsFiles,
     .removals = kSystemCacheRemovals,
     .line = lines::kCleanSystemCaches},
    {.name = "cauc",
     .group = kCaches,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Removes the caches in the Library/Caches of every user.",
     .why = "A damaged cache makes programs slow or wrong, and old caches take room. Quit the programs before.",
     .kept = "Names that begin with a dot, and the caches of sandboxed programs.",
     .undo = "Programs fill their caches again as they need them.",
     .duration = kAsFiles,
     .removals = kUserCacheRemovals},
    {.name = "vpf",
     .group = kPreferences,
     .tier = Tier::reads,
     .isToolTask = true,
     .does = "Checks the property lists in /Library/Preferences and in the caller's Library/Preferences.",
     .why = "A program whose preferences are damaged may not start or forgets its settings.",
     .kept = "Nothing is changed.",
     .duration = kSeconds,
     .needs = kPlutil,
     .line = lines::kVerifyPreferences},
    {.name = "rpf",
     .group = kPreferences,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Removes the damaged property lists in the Preferences of every user and of the system.",
     .why = "A program whose preferences are damaged may not start; without them it begins with its defaults.",
     .kept = "Property lists that plutil finds right, and damaged ones whose path holds a blank.",
     .undo = "The settings in the damaged files are lost.",
     .duration = "Up to a minute.",
     .needs = kPlutil,
     .removals = kDamagedOfAll},
    {.name = "repairVolume",
     .argument = "VOLUME",
     .group = kDisks,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Repairs the volume with diskutil.",
     .why = "After a power failure or a cable pulled out, the file system may not be sound any more.",
     .kept = "The startup volume: no volume is repaired while the system runs from it.",
     .duration = "Minutes; hours on a large, full disk.",
     .needs = kDiskutil},
    {.name = "ejectVolume",
     .argument = "VOLUME",
     .group = kDisks,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Unmounts the volume; its device stays attached.",
     .why = "So that the disk can be taken away, or its other volumes go on being used.",
     .kept = "A volume with open files stays mounted.",
     .duration = kSeconds,
     .needs = kDiskutil},
    {.name = "rebuildSpotlightIndex",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Erases the Spotlight index of the startup volume so that it is built again.",
     .why = "Searches find too little, or files that are not there any more.",
     .undo = "Until the index is built, searches find little.",
     .duration = "Seconds; the system then builds the index for an hour or more.",
     .needs = kMdutil,
     .line = lines::kRebuildSpotlightIndex},
    {.name = "cleanArchivedLogs",
     .group = kLogs,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Removes archived logs: /var/log/*.gz and rotated logs in /Library/Logs.",
     .why = "Old logs take room, and few read them.",
     .kept = "The logs that are being written.",
     .undo = kGone,
     .duration = kSeconds,
     .removals = kArchivedLogRemovals,
     .line = lines::kCleanArchivedLogs},
    {.name = "cleanAllLogs",
     .group = kLogs,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Removes the logs in /Library/Logs and in the Library/Logs of every user.",
     .why = "Logs grow, and some programs never turn theirs over.",
     .kept = "Logs in /var/log, and those whose name does not end in .log.",
     .undo = kGone,
     .duration = kSeconds,
     .removals = kAllLogRemovals,
     .line = lines::kCleanAllLogs},
    {.name = "flushDNS",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Empties the caches of the name service.",
     .why = "A server has moved, and programs still go to its old address.",
     .duration = kSeconds,
     .needs = kFlush,
     .line = lines::kFlushDNS},
    {.name = "whatisDatabase",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Builds the index of the manual pages again.",
     .why = "whatis and apropos do not know the pages that were installed last.",
     .duration = "A minute or two.",
     .needs = kMakewhatis,
     .line = lines::kWhatisDatabase},
    {.name = "locateDatabase",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Builds the database of file names for locate again.",
     .why = "locate finds only what was there when its database was built.",
     .duration = "Some minutes; more on a full disk.",
     .needs = kUpdatedb,
     .line = lines::kLocateDatabase},
    {.name = "removeTemporary",
     .group = kLogs,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Removes everything in /var/tmp.",
     .why = "Programs that crashed have left their temporary files there. Quit all programs before.",
     .kept = "Names that begin with a dot, and all of /tmp.",
     .undo = kGone,
     .duration = kAsFiles,
     .removals = kTemporaryRemovals,
     .line = lines::kRemoveTemporary},
    {.name = "cleanFontCaches",
     .group = kCaches,
     .tier = Tier::rebuilds,
     .isToolTask = true,
     .does = "Removes the font caches of the system and of the users.",
     .why = "Text looks garbled, or a new font does not show up.",
     .kept = "The fonts themselves.",
     .undo = "The system builds the caches again; restart the computer afterwards.",
     .duration = "Ten seconds.",
     .needs = kAtsutil,
     .line = lines::kCleanFontCaches},
    {.name = "secureEraseFreeSpace",
     .argument = "VOLUME",
     .group = kDisks,
     .tier = Tier::forGood,
     .isToolTask = true,
     .does = "Fills the free space of the volume with a file, overwrites it and removes it.",
     .why = "What was deleted before cannot be brought back then, for instance before a disk is sold.",
     .kept = "All files but secure-erase.temp at the top of the volume. On solid-state disks some deleted data stays, "
             "because they write elsewhere than they are told.",
     .undo = "What was deleted on the volume can never be brought back. While it runs, the volume is full.",
     .duration = "Hours: all free space is written many times.",
     .needs = kDdAndSrm,
     .removals = kFillerRemovals},
    {.name = "killProcess",
     .argument = "PID",
     .group = kProcesses,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Interrupts the process group that the process PID belongs to.",
     .why = "A program hangs, or a task of root's is to end, which its user may not signal.",
     .kept = "A program may ignore the interrupt.",
     .undo = kUnsaved,
     .duration = "At once."},
    {.name = "feat",
     .group = kTrashAndFiles,
     .tier = Tier::removes,
     .isToolTask = true,
     .does = "Empties the trash of every user and volume.",
     .why = "The Finder does not empty a trash with files in use or of somebody else, nor that of other users.",
     .kept = "Names that begin with a dot at the top of a trash.",
     .undo = "The files are gone, those of other users, too.",
     .duration = kAsFiles,
     .removals = kTrashRemovals},
    {.name = "secureEmptyTrash",
     .group = kTrashAndFiles,
     .tier = Tier::forGood,
     .isToolTask = true,
     .does = "Empties the trash of every user and volume, overwriting every file first.",
     .why = "So that nobody can bring back what was in it.",
     .kept = "Names that begin with a dot at the top of a trash. On solid-state disks some data may stay.",
     .undo = "The files are overwritten, those of other users, too; no program can bring them back.",
     .duration = "Long: every file is written seven times.",
     .needs = kSrm,
     .removals = kTrashOverwritten},

    // --- the library's
    {.name = "cleanUserCache",
     .group = kCaches,
     .tier = Tier::rebuilds,
     .does = "Removes your caches, those of sandboxed programs included.",
     .why = "A damaged cache makes programs slow or wrong, and old caches take room. Quit the programs before.",
     .kept = "Names that begin with a dot, and what is not yours.",
     .undo = "Programs fill their caches again as they need them.",
     .duration = kAsFiles,
     .removals = kOwnCacheRemovals},
    {.name = "cleanDashboardCache",
     .group = kCaches,
     .tier = Tier::rebuilds,
     .does = "Removes the cache of the Dashboard and starts the Dock again.",
     .why = "Widgets show old data or nothing.",
     .kept = "The widgets and their settings.",
     .duration = kSeconds,
     .needs = kDashboard,
     .removals = kDashboardRemovals},
    {.name = "cleanBrowserCache",
     .argument = "BROWSER",
     .group = kBrowsers,
     .tier = Tier::rebuilds,
     .does = "Removes the cache of a browser, or of all of them.",
     .why = "Pages look wrong or old, or the cache takes too much room. Quit the browser before.",
     .kept = "History, bookmarks, cookies and passwords.",
     .undo = "The browser loads again what it needs.",
     .duration = kAsFiles,
     .removals = lines::kBrowserCaches},
    {.name = "cleanBrowserHistory",
     .argument = "BROWSER",
     .group = kBrowsers,
     .tier = Tier::removes,
     .does = "Removes the history of a browser, or of all of them.",
     .why = "Nobody shall see which pages were visited. Quit the browser before.",
     .kept =
         "Cache, cookies and passwords. Firefox has its bookmarks in the same file as its history: they go with it.",
     .undo = "The history is gone, with Firefox the bookmarks, too.",
     .duration = kSeconds,
     .needs = kSafarisHistory,
     .removals = lines::kBrowserHistories},
    {.name = "cleanDesktop",
     .group = kTrashAndFiles,
     .tier = Tier::removes,
     .does = "Moves what lies on your desktop into a new folder with today's date.",
     .why = "An empty desktop, with nothing thrown away.",
     .kept = "Names that begin with a dot stay on the desktop.",
     .duration = kSeconds,
     .removals = kDesktopRemovals},
    {.name = "vacuumAppleMailIndex",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .does = "Compacts the index databases of Mail and lists them.",
     .why = "Mail has become slow. Quit it before.",
     .kept = "The messages themselves.",
     .duration = "A minute or two.",
     .needs = kSqlite},
    {.name = "rebuildLaunchServices",
     .group = kIndexes,
     .tier = Tier::rebuilds,
     .does = "Builds the database of applications and document types again and starts the Finder again.",
     .why = "\"Open With\" shows programs twice, or documents open in the wrong one.",
     .undo = "Which program opens a kind of document may have to be chosen again.",
     .duration = "A minute or two.",
     .needs = kLsregister},
    {.name = "findLargeFilesInPath",
     .argument = "FOLDER",
     .group = kTrashAndFiles,
     .tier = Tier::reads,
     .does = "Opens a search of the Finder for large files in a folder.",
     .why = "To see what takes the room.",
     .kept = "Nothing is removed.",
     .duration = kSeconds},
    {.name = "freeMemory",
     .group = kComputer,
     .tier = Tier::reads,
     .does = "Reads the startup volume for twenty seconds so that the system gives memory back.",
     .why = "Memory is short although few programs run.",
     .kept = "Nothing is changed on disk.",
     .duration = "Twenty seconds.",
     .needs = kDu},
    {.name = "forceDeleteFiles",
     .argument = "PATH...",
     .group = kTrashAndFiles,
     .tier = Tier::removes,
     .does = "Removes files and folders at once.",
     .why = "The Finder refuses, or the trash is not wanted.",
     .kept = "What is not yours, and what the links among them point to.",
     .undo = kGone,
     .duration = kAsFiles,
     .removals = kChosen},
    {.name = "secureDeleteFiles",
     .argument = "PATH...",
     .group = kTrashAndFiles,
     .tier = Tier::forGood,
     .does = "Overwrites files and folders, then removes them.",
     .why = "So that nobody can bring them back.",
     .kept = "What is not yours, and what the links among them point to. On solid-state disks some data may stay.",
     .undo = kOverwritten,
     .duration = "Long: every file is written seven times.",
     .needs = kSrm,
     .removals = kChosenOverwritten},
    {.name = "removeDSStoreFilesInPath",
     .argument = "FOLDER",
     .group = kTrashAndFiles,
     .tier = Tier::rebuilds,
     .does = "Removes the files named .DS_Store in a folder and beneath.",
     .why = "The Finder leaves one in every folder that it shows; on other systems they are in the way.",
     .undo = "How the Finder showed the folders is forgotten.",
     .duration = "As long as a walk through the folder.",
     .removals = kDSStoreRemovals},
    {.name = "removeDSStoreFilesInHomeFolder",
     .group = kTrashAndFiles,
     .tier = Tier::rebuilds,
     .does = "Removes the files named .DS_Store in your home folder and beneath.",
     .why = "The Finder leaves one in every folder that it shows; one that is damaged makes it show a folder wrong.",
     .undo = "How the Finder showed the folders is forgotten.",
     .duration = "As long as a walk through your home folder.",
     .removals = kDSStoreAtHomeRemovals},
    {.name = "removeCorruptUserPreferences",
     .group = kPreferences,
     .tier = Tier::removes,
     .does = "Removes your damaged property lists.",
     .why = "A program whose preferences are damaged may not start; without them it begins with its defaults.",
     .kept = "Property lists that plutil finds right, and damaged ones whose path holds a blank.",
     .undo = "The settings in the damaged files are lost.",
     .duration = "Up to a minute.",
     .needs = kPlutil,
     .removals = kDamagedOwn},
    {.name = "cleanStaleTemporaryFiles",
     .group = kLogs,
     .tier = Tier::rebuilds,
     .does = "Removes what an interrupted erasing of free space has left.",
     .why = "The file secure-erase.temp fills a whole volume.",
     .kept = "Files with any other name. Do not run it while free space is being erased.",
     .duration = "Up to a minute.",
     .removals = kStaleRemovals},
    {.name = "ejectAllVolumes",
     .group = kDisks,
     .tier = Tier::rebuilds,
     .does = "Unmounts every volume that you have mounted; the devices stay attached.",
     .why = "So that the computer can be taken away from its disks.",
     .kept = "The startup volume, and what others have mounted. A volume with open files ends the task.",
     .duration = kSeconds,
     .needs = kDiskutil},
    {.name = "quitAllApplications",
     .group = kProcesses,
     .tier = Tier::rebuilds,
     .does = "Asks every application to quit.",
     .why = "Before a task that wants no program to be running.",
     .kept = "The Finder. An application with unsaved documents asks what is to become of them.",
     .duration = kSeconds},
    {.name = "forceQuitApplication",
     .argument = "APPLICATION",
     .group = kProcesses,
     .tier = Tier::removes,
     .does = "Ends an application at once, without asking it.",
     .why = "It hangs.",
     .undo = kUnsaved,
     .duration = "At once."},
    {.name = "relaunchApplication",
     .argument = "APPLICATION",
     .group = kProcesses,
     .tier = Tier::removes,
     .does = "Ends an application at once and starts it again.",
     .why = "It hangs, or shall read its settings anew.",
     .undo = kUnsaved,
     .duration = kSeconds},
    {.name = "relaunchFinder",
     .group = kProcesses,
     .tier = Tier::rebuilds,
     .does = "Quits the Finder and starts it again.",
     .why = "It hangs, or shows what is not there any more.",
     .undo = "Copies that the Finder is making end.",
     .duration = kSeconds},
    {.name = "relaunchDock",
     .group = kProcesses,
     .tier = Tier::rebuilds,
     .does = "Quits the Dock, which the system starts again.",
     .why = "It hangs, or shows wrong icons.",
     .duration = kSeconds},
    {.name = "relaunchSystemMenu",
     .group = kProcesses,
     .tier = Tier::rebuilds,
     .does = "Starts the extras of the menu bar again.",
     .why = "One of them hangs.",
     .duration = kSeconds,
     .needs = kKillall},
    {.name = "restartAirport",
     .group = kComputer,
     .tier = Tier::rebuilds,
     .does = "Switches the wireless network off and on again.",
     .why = "The network hangs.",
     .undo = "Connections and transfers over it end.",
     .duration = kSeconds,
     .needs = kNetworksetup},
    {.name = "turnOnScreensaver",
     .group = kComputer,
     .tier = Tier::reads,
     .does = "Starts the screen saver.",
     .why = "Before one leaves the computer.",
     .duration = "At once.",
     .needs = kScreenSaver},
    {.name = "restartOrShutdown",
     .group = kComputer,
     .tier = Tier::forGood,
     .does = "Asks in a window whether to restart the computer or to shut it down.",
     .why = "Some tasks want a restart to be complete.",
     .kept = "An application with unsaved documents asks, and can stop it.",
     .undo = "All programs end.",
     .duration = "A minute or two."},
    {.name = "restart",
     .group = kComputer,
     .tier = Tier::forGood,
     .does = "Restarts the computer.",
     .why = "Some tasks want a restart to be complete.",
     .kept = "An application with unsaved documents asks, and can stop it.",
     .undo = "All programs end.",
     .duration = "A minute or two."},
    {.name = "shutdown",
     .group = kComputer,
     .tier = Tier::forGood,
     .does = "Shuts the computer down.",
     .why = "The work is done.",
     .kept = "An application with unsaved documents asks, and can stop it.",
     .undo = "All programs end.",
     .duration = "A minute."},
    {.name = "toggleDashboard",
     .group = kSettings,
     .tier = Tier::rebuilds,
     .does = "Switches the Dashboard off, or on again, and starts the Dock again.",
     .why = "Who does not use it saves memory.",
     .undo = kToggled,
     .duration = kSeconds,
     .needs = kDashboard},
    {.name = "toggleInvisibleFiles",
     .group = kSettings,
     .tier = Tier::rebuilds,
     .does = "Has the Finder show invisible files, or hide them again, and starts it again.",
     .why = "To come to files whose names begin with a dot.",
     .undo = kToggled,
     .duration = kSeconds},
    {.name = "toggleDownloadWarning",
     .group = kSettings,
     .tier = Tier::rebuilds,
     .does = "Switches the warning before opening downloaded programs off, or on again, and starts the Finder again.",
     .why = "Who knows what was downloaded may not want the question. It protects all others.",
     .undo = kToggled,
     .duration = kSeconds},
    {.name = "setScreenshotFormat",
     .argument = "FORMAT",
     .group = kSettings,
     .tier = Tier::rebuilds,
     .does = "Has screen pictures saved in another format: JPG, PNG, PDF or TIFF.",
     .why = "Other programs want another format.",
     .kept = "Pictures that were taken before.",
     .undo = "PNG is the system's own.",
     .duration = kSeconds,
     .needs = kKillall},
    {.name = "toggleScreenshotShadow",
     .group = kSettings,
     .tier = Tier::rebuilds,
     .does = "Switches the shadow around windows in screen pictures off, or on again.",
     .why = "The shadow is in the way in documents.",
     .undo = kToggled,
     .duration = kSeconds,
     .needs = kKillall},
};

constexpr bool areComplete(std::span<const OVTaskDescription> tasks) {
    return std::all_of(tasks.begin(), tasks.end(), [](const OVTaskDescription& task) {
        return !task.name.empty() && !task.group.empty() && task.does.ends_with('.') && task.why.ends_with('.') &&
               task.duration.ends_with('.') && (task.kept.empty() || task.kept.ends_with('.')) &&
               (task.undo.empty() || task.undo.ends_with('.'));
    });
}

static_assert(areComplete(kTasks));

} // namespace

std::span<const OVTaskDescription> OVTaskCatalogue() {
    return kTasks;
}

const OVTaskDescription* OVTaskNamed(std::string_view name) {
    for (const OVTaskDescription& task : kTasks) {
        if (task.name == name) {
            return &task;
        }
    }
    return nullptr;
}

} // namespace orvane
