#pragma once

#include "Platform/AlertPanel.h"
#include "Platform/AppleScript.h"
#include "Platform/Bundle.h"
#include "Platform/Clock.h"
#include "Platform/FileManager.h"
#include "Platform/Gestalt.h"
#include "Platform/HostMemory.h"
#include "Platform/Locale.h"
#include "Platform/Pasteboard.h"
#include "Platform/ProcessInfo.h"
#include "Platform/SystemCalls.h"
#include "Platform/UserDefaults.h"
#include "Platform/Volumes.h"
#include "Platform/Workspace.h"
#include "Tasks/OVShellCommand.h"
#include "Tasks/OVTaskCatalogue.h"
#include "Tasks/OVTaskDelegate.h"
#include "Tasks/OVVolumeDictionary.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

class OVPasteboardServer;

// The task status, the result of every task operation.
inline constexpr std::int32_t kTaskSuccess = 0;
inline constexpr std::int32_t kTaskFailure = 1;
inline constexpr std::int32_t kTaskCancelled = 2; ///< by the owner, or the owner was asked for input and gave none

/// "secure-erase.temp": the file at the top of a volume that fills its free space to have it overwritten.
extern const char* const kOVSecureEraseFreeSpaceTempFilename;

// Browsers, as `cleanBrowserCache:` and `cleanBrowserHistory:` name them. Compared exactly.
extern const char* const kOVBrowserSafari;  ///< "com.apple.safari"
extern const char* const kOVBrowserFirefox; ///< "org.mozilla.firefox"
extern const char* const kOVBrowserChrome;  ///< "com.google.chrome"
extern const char* const kOVBrowsersAll;    ///< "ALL_BROWSERS": all three

/// A service that was handed in, else the platform's own, asked for when it is used: a program that runs none of the
/// tasks that use it, as the tool, has none of it linked.
template <typename Service> class OrPlatform {
  public:
    // NOLINTNEXTLINE(google-explicit-constructor): the service is what callers have
    OrPlatform(Service* service = nullptr) : service_(service) {}
    Service& operator()() const { return service_ != nullptr ? *service_ : Service::platform(); }

  private:
    Service* service_;
};

/// What the runner has from outside. Everything must outlive it.
struct OVTaskRunnerServices {
    SystemCalls& calls = SystemCalls::platform();
    Volumes& volumes = Volumes::platform();
    AppleScript& appleScript = AppleScript::platform();
    ProcessInfo& processInfo = ProcessInfo::platform();
    CommandRunner& commands = CommandRunner::shellCommands();

    // What only an application's own tasks use.
    OrPlatform<AlertPanel> alertPanel = {};
    OrPlatform<Bundle> bundle = {};
    OrPlatform<Clock> clock = {};
    OrPlatform<FileManager> fileManager = {};
    OrPlatform<Gestalt> gestalt = {};
    OrPlatform<HostMemory> hostMemory = {};
    OrPlatform<Locale> locale = {};
    OrPlatform<UserDefaultsFactory> userDefaults = {};
    OrPlatform<Workspace> workspace = {};
};

/// The catalogue of maintenance tasks.
///
/// Unless said otherwise an operation returns the task status, runs on the caller's thread and blocks it; commands are
/// asked about and their output delivered there, through the delegate. Failures are logged, nothing is thrown. Paths
/// that become part of a shell line stand there between double quotes, unless said otherwise; nothing in them is
/// escaped.
class OVTaskRunner : public OVShellCommandDelegate {
  public:
    /// `init`: both properties start as nothing.
    explicit OVTaskRunner(const OVTaskRunnerServices& services = {});
    OVTaskRunner(const OVTaskRunner&) = delete;
    OVTaskRunner& operator=(const OVTaskRunner&) = delete;
    /// `dealloc`: deliberately releases neither property. An owner that is to go away takes itself out with
    /// `setDelegate(nullptr)` first.
    ~OVTaskRunner() override;

    // The properties, atomic and retaining.

    /// `pasteboardServer`, `setPasteboardServer:`: the clipboard history that the clipboard tasks act on.
    [[nodiscard]] std::shared_ptr<OVPasteboardServer> pasteboardServer() const;
    void setPasteboardServer(std::shared_ptr<OVPasteboardServer> server);
    /// `delegate`, `setDelegate:`: the owner, who receives output, answers cancel questions and supplies the user's
    /// choices.
    [[nodiscard]] std::shared_ptr<OVTaskDelegate> delegate() const;
    void setDelegate(std::shared_ptr<OVTaskDelegate> delegate);

    // The command layer.

    /// `runCommand:arguments:`: runs the program at the absolute path with the arguments. Exit code 0 is success, any
    /// other failure; dying of a signal and a cancel, even one that could not be carried out (which is logged), are a
    /// cancel.
    std::int32_t runCommand(const std::string& path, const std::vector<std::string>& arguments);

    /// `runBashCommand:`: runs one line by "/bin/sh -c"; the status is that of the line's last command.
    std::int32_t runBashCommand(const std::string& command);

    /// `runBashCommand:onItemsAtPaths:`: runs the command, a program with leading options, once for each path with the
    /// path as its last argument, in the order of the list, by `xargs` from a list file ("files-to-remove.txt",
    /// readable by the user alone); without the whole file on disk nothing is run. An empty list is a success.
    ///
    /// The list file is removed, its new temporary folder deliberately stays. What `xargs` reads is deliberately not
    /// protected: newlines, quote characters, backslashes and leading blanks, on macOS also two blanks in a row, tabs,
    /// blanks at the end and paths of more than 254 bytes. It sees other paths then.
    std::int32_t runBashCommand(std::string_view command, const std::vector<std::string>& onItemsAtPaths);

    /// `runAppleScript:`: runs the source; nothing reaches the delegate. Returns 0 or 1.
    std::int32_t runAppleScript(const std::string& source);
    /// `runAuthorizedTask:`: a placeholder that deliberately ignores its argument and returns 1.
    std::int32_t runAuthorizedTask(const void* task);

    /// `pathsByExpandingGlobs:`: the paths that match the patterns, each read as an absolute path, in the order of the
    /// patterns and by name for each; a path that two patterns match comes twice.
    std::vector<std::string> pathsByExpandingGlobs(const std::vector<std::string>& globs);

    /// `shellCommandHasOutputAvailable:`: to the delegate's `hasOutputAvailable:`.
    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override { tellOwner(chunk); }
    /// `shellCommandShouldCancel`: the delegate's `shouldCancel`; no without a delegate.
    bool shellCommandShouldCancel() override;

    // Volumes and disks.

    /// `repairDiskPermissions`: "/usr/sbin/diskutil repairPermissions /".
    std::int32_t repairDiskPermissions();
    /// `repairVolume:`: "/usr/sbin/diskutil repairVolume" with the volume's path or device.
    std::int32_t repairVolume(const std::string& volume);
    /// `ejectVolume:`: "/usr/sbin/diskutil unmount" with the volume's path; deliberately not "eject": the device stays
    /// attached.
    std::int32_t ejectVolume(const std::string& path);

    /// `secureEraseFreeSpaceCommand:`: the line that fills the volume's free space with a file
    /// (`kOVSecureEraseFreeSpaceTempFilename`), overwrites it and removes it, on a signal too. Runs nothing.
    std::string secureEraseFreeSpaceCommand(std::string_view path);
    /// `secureEraseFreeSpace:`: runs that line.
    std::int32_t secureEraseFreeSpace(std::string_view path);

    /// `ejectAllVolumes`: `ejectVolume:` for every browsable volume that the process's real user (`getuid`) mounted.
    /// The first that fails ends it with its status; success when there is none.
    std::int32_t ejectAllVolumes();

    /// `mountedBrowsableVolumes`: the mounted volumes that are neither hidden from browsing nor the start-up volume, in
    /// the system's order, read anew by each call; nothing, with a log line, when the system lists no mount at all.
    std::optional<std::vector<OVVolumeDictionary>> mountedBrowsableVolumes();

    // Deletion. `...ItemsAtPaths:` run their command as `runBashCommand:onItemsAtPaths:` does.

    /// `secureDeleteItemsAtPaths:`: "/usr/bin/srm -v -f -r -m --" for each path.
    std::int32_t secureDeleteItemsAtPaths(const std::vector<std::string>& paths);

    /// `forceDeleteItemsAtPaths:`: "rm -rfv" for each path. Deliberately without "--": a path that begins with "-" is
    /// read as options.
    std::int32_t forceDeleteItemsAtPaths(const std::vector<std::string>& paths);
    /// `forceDeleteItemsAtGlobs:`: `forceDeleteItemsAtPaths:` on what the patterns expand to.
    std::int32_t forceDeleteItemsAtGlobs(const std::vector<std::string>& globs);

    /// `secureDeleteFiles`, `forceDeleteFiles`: deletes what the owner chooses (`promptForFiles`); 2 without a choice.
    std::int32_t secureDeleteFiles();
    std::int32_t forceDeleteFiles();
    /// `secureEmptyTrash`, `forceEmptyTrash`: deletes `userTrashitems`.
    std::int32_t secureEmptyTrash();
    std::int32_t forceEmptyTrash();

    /// `removeDSStoreFilesInPath:`: removes the regular files named ".DS_Store" at any depth beneath the folder and
    /// prints each.
    std::int32_t removeDSStoreFilesInPath(std::string_view path);
    /// `removeDSStoreFilesInHomeFolder`: `removeDSStoreFilesInPath:` on `homeDirectory`.
    std::int32_t removeDSStoreFilesInHomeFolder();
    /// `removeDSStoreFilesInFolder`: the same on what the owner chooses (`promptForFolder`); 2 without a choice.
    std::int32_t removeDSStoreFilesInFolder();

    /// `promptForFiles`: files and folders that the owner chooses; nothing without a choice.
    std::optional<std::vector<std::string>> promptForFiles();
    /// `promptForFolder`: one folder that the owner chooses, the first when it answers with more; nothing without a
    /// choice. An empty list is no answer: it stops the process with a failed assertion.
    std::optional<std::string> promptForFolder();

    /// `pathsWithDirectoriesOnly:allowsMultipleSelection:`: what the delegate answers to
    /// `inputPathsWithDirectoriesOnly:allowsMultipleSelection:`; nothing when it wants to cancel (asked first), answers
    /// nothing, or is not there.
    std::optional<std::vector<std::string>> pathsWithDirectoriesOnly(bool directoriesOnly,
                                                                     bool allowsMultipleSelection);

    /// `homeDirectory`: the home folder of the process's real user (`getuid`) in the password database, never of the
    /// environment. A user who is not there stops the process with a failed assertion.
    std::string homeDirectory();
    /// `userLibraryFolder`: "Library" in `homeDirectory`.
    std::string userLibraryFolder();
    /// `userTrashitems`: deliberately a new empty list, whatever lies in the trash.
    std::vector<std::string> userTrashitems();

    // Preferences and leftovers.

    /// `removeCorruptUserPreferences`: `removeCorruptPreferencesInPaths:` on `userLibraryFolder`.
    std::int32_t removeCorruptUserPreferences();
    /// `removeCorruptPreferencesInPaths:`: removes the property lists in folders named "Preferences" at any depth
    /// beneath the folders that "plutil" finds damaged, and prints each. A damaged file whose path holds a blank
    /// deliberately stays.
    std::int32_t removeCorruptPreferencesInPaths(const std::vector<std::string>& paths);

    /// `cleanStaleTemporaryFiles`: removes the files of interrupted free-space erasures beneath "/var/folders" and at
    /// the top of the volumes in "/Volumes". Prints nothing.
    std::int32_t cleanStaleTemporaryFiles();

    // Applications, restart and shutdown.

    /// `quitAllApplications`: asks every foreground application to quit but the process's own and the Finder, tells the
    /// owner of each, and waits for none. A process without a bundle identifier deliberately spares nobody, not even
    /// the Finder. Always 0.
    std::int32_t quitAllApplications();

    /// `forceQuitApplication:`: ends the application's process at once (`kill` with `SIGKILL`). Failure without a
    /// signal for one that has ended or is null: `kill` would take an identifier of 0 or less for many processes.
    std::int32_t forceQuitApplication(const std::shared_ptr<RunningApplication>& application);

    /// `runningForegroundApplications`: those with a Dock icon and a menu bar (`kActivationPolicyRegular`), in the
    /// workspace's order.
    std::vector<std::shared_ptr<RunningApplication>> runningForegroundApplications();

    /// `relaunchApplication:`: `forceQuitApplication:`, 1 second, then a launch of the application's bundle, whose
    /// success is the result.
    std::int32_t relaunchApplication(const std::shared_ptr<RunningApplication>& application);

    /// `relaunchFinder`: by AppleScript, quits the Finder and activates it after 2 seconds.
    std::int32_t relaunchFinder();
    /// `relaunchDock`: by AppleScript, asks the Dock to quit; the system starts it again.
    std::int32_t relaunchDock();
    /// `relaunchSystemMenu`: "/usr/bin/killall -SIGHUP SystemUIServer", which makes the menu-bar extras start again.
    std::int32_t relaunchSystemMenu();

    /// `restartAirport`: switches the wireless network interface off and, after 1.5 seconds, on ("networksetup").
    /// Returns the status of the second.
    std::int32_t restartAirport();
    /// `turnOnScreensaver`: launches the screen saver; failure when the workspace did not.
    std::int32_t turnOnScreensaver();

    /// `restartOrShutdown`: asks the user in a modal panel, then does `restart` or `shutdown`; 2 when the user wants
    /// neither.
    std::int32_t restartOrShutdown();
    /// `restart`, `shutdown`: asks the system for it by AppleScript; applications can still object.
    std::int32_t restart();
    std::int32_t shutdown();

    // Cleaning.

    /// `cleanUserCache`: force-deletes what lies in the user's cache folder and in those of sandboxed applications.
    std::int32_t cleanUserCache();
    /// `cleanDashboardCache`: force-deletes the Dashboard's cache, then `relaunchDock`; the deletion's status.
    std::int32_t cleanDashboardCache();

    /// `cleanBrowserCache:`, `cleanBrowserHistory:`: force-deletes the caches or histories of the browser, or of all of
    /// them (`kOVBrowsersAll`). Any other name deletes nothing and is a success.
    std::int32_t cleanBrowserCache(std::string_view browser);
    std::int32_t cleanBrowserHistory(std::string_view browser);

    /// `cleanDesktop`: moves the visible items of the user's desktop into a new dated folder in the owner's
    /// `archiveDesktopPath`; 2 when the owner has none, or an empty one.
    std::int32_t cleanDesktop();

    /// `vacuumAppleMailIndex`: compacts every "Envelope Index" beneath the user's Mail folder with `sqlite3` and lists
    /// them. The folder stands without quotes: a home path with blanks deliberately breaks the line.
    std::int32_t vacuumAppleMailIndex();

    /// `rebuildLaunchServices`: rebuilds the Launch Services database, without the lines of error -10811, then
    /// `relaunchFinder`; the line's status.
    std::int32_t rebuildLaunchServices();

    /// `findLargeFilesInPath:`: fills the saved-search template of the application's bundle
    /// ("LargeFilesTemplate.savedSearch") with the owner's `largeFilesSize` and the folder, writes it to the temporary
    /// folder and opens it with the Finder. A failure is told to the owner as one text.
    std::int32_t findLargeFilesInPath(const std::string& path);

    /// `freeMemory`: walks the start-up volume for 20 seconds, so that the system gives memory back, and tells the
    /// owner how much more is free; the walk's status when it is not 0.
    std::int32_t freeMemory();

    // Settings. Every toggle ends in a relaunch, whose status is the result: a failed write goes unnoticed.

    /// `isDashboardOn`: on when nothing is stored.
    bool isDashboardOn();
    /// `toggleDashboard`, then `relaunchDock`.
    std::int32_t toggleDashboard();
    /// `showInvisibleFiles`: whether the Finder shows them; off when nothing is stored.
    bool showInvisibleFiles();
    /// `toggleInvisibleFiles`, then `relaunchFinder`.
    std::int32_t toggleInvisibleFiles();
    /// `showDownloadWarning`: deliberately off when nothing is stored.
    bool showDownloadWarning();
    /// `toggleDownloadWarning`, then `relaunchFinder`.
    std::int32_t toggleDownloadWarning();
    /// `screenshotFormats`: "JPG", "PNG", "PDF", "TIFF".
    std::vector<std::string> screenshotFormats();
    /// `screenshotFormat`: what is stored, in lower case if it was set here; nothing when nothing is.
    std::optional<PropertyListValue> screenshotFormat();
    /// `setScreenshotFormat:`: stores the name in lower case, then `relaunchSystemMenu`.
    std::int32_t setScreenshotFormat(std::string_view format);

    /// `screenshotHasShadow`: yes when nothing is stored.
    bool screenshotHasShadow();
    /// `toggleScreenshotShadow`, then `relaunchSystemMenu`.
    std::int32_t toggleScreenshotShadow();

    /// `objectForKey:defaults:`: the value in the persistent domain of that name; nothing without domain or key.
    std::optional<PropertyListValue> objectForKey(const std::string& key, const std::string& defaults);

    /// `setObject:forKey:defaults:`: stores the value in the persistent domain of that name, which is made when there
    /// is none, beside what else is in it, and has it written at once. A failure is not reported.
    void setObject(const PropertyListValue& object, const std::string& forKey, const std::string& defaults);

    // The clipboard.

    /// `restoreItemsFromPasteboard:`: on the `pasteboardServer`; failure when the pasteboard could not be read or the
    /// clipboard not be written to, or there is no server.
    std::int32_t restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard);
    /// `clearPasteboardHistory`: `clearHistory` of the `pasteboardServer`. Always 0.
    std::int32_t clearPasteboardHistory();

  private:
    /// A property that the end of its holder does not release.
    template <typename Value> union Unreleased {
        Unreleased() : value() {}
        Unreleased(const Unreleased&) = delete;
        Unreleased& operator=(const Unreleased&) = delete;
        ~Unreleased() {} // NOLINT(modernize-use-equals-default): the defaulted one would not exist
        Value value;
    };

    /// `hasOutputAvailable:` to the delegate; to nobody without one.
    void tellOwner(std::optional<std::string_view> text) const;
    /// A path in the `homeDirectory`.
    std::string inHome(std::string_view path);
    /// The patterns, which begin with "~/", for `pathsByExpandingGlobs`.
    std::vector<std::string> globsInHome(std::span<const std::string_view> patterns);
    std::int32_t removeFilesOfBrowser(std::string_view browser, std::span<const OVTaskRemoval> files);

    OVTaskRunnerServices services_;
    mutable std::mutex properties_;
    Unreleased<std::shared_ptr<OVPasteboardServer>> pasteboardServer_;
    Unreleased<std::shared_ptr<OVTaskDelegate>> delegate_;
};

} // namespace orvane
