#import "OVShellCommand.h"
#import "OVTaskDelegate.h"

@class NSPasteboard;
@class NSRunningApplication;
@class OVPasteboardServer;

OV_ASSUME_NONNULL_BEGIN

// The keys of a volume dictionary, each with its own name as value.
OV_EXTERN NSString* const OVVolumePath;       ///< string: the mount point
OV_EXTERN NSString* const OVVolumeOwner;      ///< unsigned 64-bit number: the id of the user who mounted it
OV_EXTERN NSString* const OVVolumeIsLocal;    ///< boolean number: whether its files are on this machine
OV_EXTERN NSString* const OVVolumeTotalSpace; ///< unsigned 64-bit number: bytes in all
OV_EXTERN NSString* const OVVolumeFreeSpace;  ///< unsigned 64-bit number: bytes that a user other than root may fill

// Browsers, as `cleanBrowserCache:` and `cleanBrowserHistory:` name them. Compared exactly.
OV_EXTERN NSString* const kOVBrowserSafari;  ///< "com.apple.safari"
OV_EXTERN NSString* const kOVBrowserFirefox; ///< "org.mozilla.firefox"
OV_EXTERN NSString* const kOVBrowserChrome;  ///< "com.google.chrome"
OV_EXTERN NSString* const kOVBrowsersAll;    ///< "ALL_BROWSERS": all three

/// "secure-erase.temp": the file at the top of a volume that fills its free space to have it overwritten.
OV_EXTERN NSString* const kOVSecureEraseFreeSpaceTempFilename;

/// The catalogue of maintenance tasks.
///
/// Unless said otherwise a method returns the task status: 0 success, 1 failure, 2 cancelled. It runs on the caller's
/// thread and blocks it; output and cancel questions reach the delegate there. Failures are logged.
///
/// Lists, the delegate's choice too, are of strings: an element of another class raises `NSInvalidArgumentException`,
/// and nothing is run.
@interface OVTaskRunner : NSObject <OVShellCommandDelegate> {
  @private
    void* core_;
    OVPasteboardServer* pasteboardServer_;
    id<OVTaskDelegate> delegate_;
}

// Both are retained, and deliberately never released by the runner's end.

/// The clipboard history that the clipboard tasks act on.
@property(retain) OVPasteboardServer* OV_NULLABLE pasteboardServer;
/// The owner, who receives output, answers cancel questions and supplies the user's choices.
@property(retain) id<OVTaskDelegate> OV_NULLABLE delegate;

// The command layer.

/// Runs the program at the absolute path with the arguments (strings).
- (int32_t)runCommand:(NSString*)path arguments:(NSArray* OV_NULLABLE)arguments;
/// Runs one line by "/bin/sh -c".
- (int32_t)runBashCommand:(NSString*)command;
/// Runs the command, a program with leading options, once for each path with the path as its last argument.
- (int32_t)runBashCommand:(NSString*)command onItemsAtPaths:(NSArray*)paths;
/// Runs the source. 0 or 1.
- (int32_t)runAppleScript:(NSString*)source;
/// A placeholder that deliberately ignores its argument and returns 1.
- (int32_t)runAuthorizedTask:(id OV_NULLABLE)task;
/// The paths that match the patterns, each read as an absolute path.
- (NSMutableArray*)pathsByExpandingGlobs:(NSArray*)globs;

// Volumes and disks.

- (int32_t)repairDiskPermissions;
/// With the volume's path or device.
- (int32_t)repairVolume:(NSString*)volume;
/// Unmounts the volume; the device stays attached.
- (int32_t)ejectVolume:(NSString*)path;
/// The line that overwrites the volume's free space. Runs nothing.
- (NSString*)secureEraseFreeSpaceCommand:(NSString*)path;
/// Runs that line.
- (int32_t)secureEraseFreeSpace:(NSString*)path;
/// Ejects every browsable volume that the process's real user mounted, up to the first that fails.
- (int32_t)ejectAllVolumes;
/// Mutable dictionaries with the five keys above; nil when the system lists no mount at all.
- (NSArray* OV_NULLABLE)mountedBrowsableVolumes;

// Deletion.

- (int32_t)secureDeleteItemsAtPaths:(NSArray*)paths;
- (int32_t)forceDeleteItemsAtPaths:(NSArray*)paths;
- (int32_t)forceDeleteItemsAtGlobs:(NSArray*)globs;
// Files that the delegate chooses; 2 without a choice.
- (int32_t)secureDeleteFiles;
- (int32_t)forceDeleteFiles;
// These act on `userTrashitems`.
- (int32_t)secureEmptyTrash;
- (int32_t)forceEmptyTrash;
- (int32_t)removeDSStoreFilesInPath:(NSString*)path;
- (int32_t)removeDSStoreFilesInHomeFolder;
/// In a folder that the delegate chooses; 2 without a choice.
- (int32_t)removeDSStoreFilesInFolder;
- (NSArray* OV_NULLABLE)promptForFiles;
- (NSString* OV_NULLABLE)promptForFolder;
/// What the delegate answers; nil when it wants to cancel.
- (NSArray* OV_NULLABLE)pathsWithDirectoriesOnly:(BOOL)directoriesOnly
                         allowsMultipleSelection:(BOOL)allowsMultipleSelection;
/// The home folder of the process's real user in the password database.
- (NSString*)homeDirectory;
- (NSString*)userLibraryFolder;
/// Deliberately a new empty list, whatever lies in the trash.
- (NSMutableArray*)userTrashitems;

// Preferences and leftovers.

- (int32_t)removeCorruptUserPreferences;
- (int32_t)removeCorruptPreferencesInPaths:(NSArray*)paths;
- (int32_t)cleanStaleTemporaryFiles;

// Applications, restart and shutdown.

/// Asks every foreground application to quit but the process's own and the Finder. Always 0.
- (int32_t)quitAllApplications;
/// `SIGKILL`; 1 for an application that has ended, and for any process identifier of 0 or less: nothing is signalled
/// then.
- (int32_t)forceQuitApplication:(NSRunningApplication*)application;
/// `NSRunningApplication` objects with a Dock icon and a menu bar.
- (NSArray*)runningForegroundApplications;
/// Blocks for a second between the end and the launch.
- (int32_t)relaunchApplication:(NSRunningApplication*)application;
- (int32_t)relaunchFinder;
- (int32_t)relaunchDock;
- (int32_t)relaunchSystemMenu;
/// Switches the wireless network interface off and on.
- (int32_t)restartAirport;
- (int32_t)turnOnScreensaver;
/// Asks the user in a modal panel; 2 when the user wants neither.
- (int32_t)restartOrShutdown;
- (int32_t)restart;
- (int32_t)shutdown;

// Cleaning.

- (int32_t)cleanUserCache;
- (int32_t)cleanDashboardCache;
// With one of the browser constants; any other name deletes nothing.
- (int32_t)cleanBrowserCache:(NSString*)browser;
- (int32_t)cleanBrowserHistory:(NSString*)browser;
/// Moves the visible items of the desktop into a new dated folder in the delegate's `archiveDesktopPath`.
- (int32_t)cleanDesktop;
- (int32_t)vacuumAppleMailIndex;
- (int32_t)rebuildLaunchServices;

/// Opens a saved search for files above the delegate's `largeFilesSize` with the Finder.
- (int32_t)findLargeFilesInPath:(NSString*)path;

/// Has the system give back memory, which takes 20 seconds, and tells the delegate how much.
- (int32_t)freeMemory;

// Settings.

- (BOOL)isDashboardOn;
- (int32_t)toggleDashboard;
- (BOOL)showInvisibleFiles;
- (int32_t)toggleInvisibleFiles;
- (BOOL)showDownloadWarning;
- (int32_t)toggleDownloadWarning;
/// "JPG", "PNG", "PDF", "TIFF".
- (NSArray*)screenshotFormats;
/// What is stored, in lower case if it was set here; nil when nothing is.
- (NSString* OV_NULLABLE)screenshotFormat;
- (int32_t)setScreenshotFormat:(NSString*)format;
- (BOOL)screenshotHasShadow;
- (int32_t)toggleScreenshotShadow;
/// The object in the persistent domain of that name; nil without the domain or the key.
- (id OV_NULLABLE)objectForKey:(NSString*)key defaults:(NSString*)defaults;
/// Stores a property-list object in the persistent domain of that name, whose other objects stay as they are. A failure
/// is not reported.
- (void)setObject:(id)object forKey:(NSString*)key defaults:(NSString*)defaults;

// The clipboard.

/// 1 when the entry could not be put on the clipboard. Nil empties the clipboard.
- (int32_t)restoreItemsFromPasteboard:(NSPasteboard* OV_NULLABLE)pasteboard;
/// Always 0.
- (int32_t)clearPasteboardHistory;

@end

OV_ASSUME_NONNULL_END
