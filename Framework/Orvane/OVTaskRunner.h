#import <AppKit/AppKit.h>
#import <Orvane/OVPasteboardServer.h>
#import <Orvane/OVShellCommand.h>
#import <Orvane/OVTaskDelegate.h>

OV_ASSUME_NONNULL_BEGIN

/// The keys of a volume dictionary, each with its own name as value.
typedef NSString* OVVolumeKey OV_TYPED_ENUM;
/// A string: the mount point.
OV_EXTERN OVVolumeKey const OVVolumePath OV_SWIFT_NAME(path);
/// An unsigned 64-bit number: the id of the user who mounted it.
OV_EXTERN OVVolumeKey const OVVolumeOwner OV_SWIFT_NAME(owner);
/// A boolean number: whether its files are on this machine.
OV_EXTERN OVVolumeKey const OVVolumeIsLocal OV_SWIFT_NAME(isLocal);
/// An unsigned 64-bit number: bytes in all.
OV_EXTERN OVVolumeKey const OVVolumeTotalSpace OV_SWIFT_NAME(totalSpace);
/// An unsigned 64-bit number: bytes that a user other than root may fill.
OV_EXTERN OVVolumeKey const OVVolumeFreeSpace OV_SWIFT_NAME(freeSpace);

/// Browsers, as `cleanBrowserCache:` and `cleanBrowserHistory:` name them. Compared exactly.
typedef NSString* OVBrowser OV_TYPED_ENUM;
OV_EXTERN OVBrowser const kOVBrowserSafari OV_SWIFT_NAME(safari);   ///< "com.apple.safari"
OV_EXTERN OVBrowser const kOVBrowserFirefox OV_SWIFT_NAME(firefox); ///< "org.mozilla.firefox"
OV_EXTERN OVBrowser const kOVBrowserChrome OV_SWIFT_NAME(chrome);   ///< "com.google.chrome"
OV_EXTERN OVBrowser const kOVBrowsersAll OV_SWIFT_NAME(all);        ///< "ALL_BROWSERS": all three

@class OVTaskRunner;

/// "secure-erase.temp": the file at the top of a volume that fills its free space to have it overwritten.
OV_EXTERN NSString* const
    kOVSecureEraseFreeSpaceTempFilename OV_SWIFT_NAME(OVTaskRunner.secureEraseFreeSpaceTempFilename);

/// The catalogue of maintenance tasks.
///
/// A method that returns a task status (0 success, 1 failure, 2 cancelled) runs on the caller's thread and blocks it;
/// output and cancel questions reach the delegate there. Failures are logged.
///
/// Threads: any, a runner on one at a time; several runners work at once. An application calls the tasks on a thread of
/// its own, because they block. What AppKit does, the scripts too, is carried to the main thread and waited for there,
/// in the common modes of its run loop, which it must therefore be in: the methods that need it say "main thread". The
/// two properties may be set and read on any thread while a task runs.
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
- (OVTaskStatus)runCommand:(NSString*)path arguments:(NSArray OV_OF(NSString*) * OV_NULLABLE)arguments;
/// Runs one line by "/bin/sh -c".
- (OVTaskStatus)runBashCommand:(NSString*)command;
/// Runs the command, a program with leading options, once for each path with the path as its last argument.
- (OVTaskStatus)runBashCommand:(NSString*)command onItemsAtPaths:(NSArray OV_OF(NSString*) *)paths;
/// Runs the source, on the main thread. 0 or 1.
- (OVTaskStatus)runAppleScript:(NSString*)source;
/// A placeholder that deliberately ignores its argument and returns 1.
- (OVTaskStatus)runAuthorizedTask:(id OV_NULLABLE)task;
/// The paths that match the patterns, each read as an absolute path.
- (NSMutableArray OV_OF(NSString*) *)pathsByExpandingGlobs:(NSArray OV_OF(NSString*) *)globs;

// Volumes and disks.

- (OVTaskStatus)repairDiskPermissions;
/// With the volume's path or device.
- (OVTaskStatus)repairVolume:(NSString*)volume;
/// Unmounts the volume; the device stays attached.
- (OVTaskStatus)ejectVolume:(NSString*)path;
/// The line that overwrites the volume's free space. Runs nothing.
- (NSString*)secureEraseFreeSpaceCommand:(NSString*)path;
/// Runs that line.
- (OVTaskStatus)secureEraseFreeSpace:(NSString*)path;
/// Ejects every browsable volume that the process's real user mounted, up to the first that fails.
- (OVTaskStatus)ejectAllVolumes;
/// Mutable dictionaries with the five keys above; nil when the system lists no mount at all.
- (NSArray OV_OF(NSMutableDictionary OV_OF(OVVolumeKey, id) *) * OV_NULLABLE)mountedBrowsableVolumes;

// Deletion.

- (OVTaskStatus)secureDeleteItemsAtPaths:(NSArray OV_OF(NSString*) *)paths;
- (OVTaskStatus)forceDeleteItemsAtPaths:(NSArray OV_OF(NSString*) *)paths;
- (OVTaskStatus)forceDeleteItemsAtGlobs:(NSArray OV_OF(NSString*) *)globs;
// Files that the delegate chooses; 2 without a choice.
- (OVTaskStatus)secureDeleteFiles;
- (OVTaskStatus)forceDeleteFiles;
// These act on `userTrashitems`.
- (OVTaskStatus)secureEmptyTrash;
- (OVTaskStatus)forceEmptyTrash;
- (OVTaskStatus)removeDSStoreFilesInPath:(NSString*)path;
- (OVTaskStatus)removeDSStoreFilesInHomeFolder;
/// In a folder that the delegate chooses; 2 without a choice.
- (OVTaskStatus)removeDSStoreFilesInFolder;
- (NSArray OV_OF(NSString*) * OV_NULLABLE)promptForFiles;
- (NSString* OV_NULLABLE)promptForFolder;
/// What the delegate answers; nil when it wants to cancel.
- (NSArray OV_OF(NSString*) * OV_NULLABLE)pathsWithDirectoriesOnly:(BOOL)directoriesOnly
                                           allowsMultipleSelection:(BOOL)allowsMultipleSelection;
/// The home folder of the process's real user in the password database.
- (NSString*)homeDirectory;
- (NSString*)userLibraryFolder;
/// Deliberately a new empty list, whatever lies in the trash.
- (NSMutableArray OV_OF(NSString*) *)userTrashitems;

// Preferences and leftovers.

- (OVTaskStatus)removeCorruptUserPreferences;
- (OVTaskStatus)removeCorruptPreferencesInPaths:(NSArray OV_OF(NSString*) *)paths;
- (OVTaskStatus)cleanStaleTemporaryFiles;

// Applications, restart and shutdown.

/// Asks every foreground application to quit but the process's own and the Finder. Always 0. They are listed on the
/// main thread.
- (OVTaskStatus)quitAllApplications;
/// `SIGKILL`; 1 for an application that has ended, and for any process identifier of 0 or less: nothing is signalled
/// then.
- (OVTaskStatus)forceQuitApplication:(NSRunningApplication*)application;
/// `NSRunningApplication` objects with a Dock icon and a menu bar, listed on the main thread.
- (NSArray OV_OF(NSRunningApplication*) *)runningForegroundApplications;
/// Blocks for a second between the end and the launch, which is done on the main thread.
- (OVTaskStatus)relaunchApplication:(NSRunningApplication*)application;
// Scripts, on the main thread.
- (OVTaskStatus)relaunchFinder;
- (OVTaskStatus)relaunchDock;

- (OVTaskStatus)relaunchSystemMenu;
/// Switches the wireless network interface off and on.
- (OVTaskStatus)restartAirport;
/// Launched on the main thread.
- (OVTaskStatus)turnOnScreensaver;
/// Asks the user in a modal panel, on the main thread; 2 when the user wants neither.
- (OVTaskStatus)restartOrShutdown;
// Scripts, on the main thread.
- (OVTaskStatus)restart;
- (OVTaskStatus)shutdown;

// Cleaning.

- (OVTaskStatus)cleanUserCache;
/// Relaunches the Dock, by a script on the main thread.
- (OVTaskStatus)cleanDashboardCache;
// With one of the browser constants; any other name deletes nothing.
- (OVTaskStatus)cleanBrowserCache:(OVBrowser)browser;
- (OVTaskStatus)cleanBrowserHistory:(OVBrowser)browser;
/// Moves the visible items of the desktop into a new dated folder in the delegate's `archiveDesktopPath`.
- (OVTaskStatus)cleanDesktop;
- (OVTaskStatus)vacuumAppleMailIndex;
/// Relaunches the Finder, too, by a script on the main thread.
- (OVTaskStatus)rebuildLaunchServices;

/// Opens a saved search for files above the delegate's `largeFilesSize` with the Finder, on the main thread.
- (OVTaskStatus)findLargeFilesInPath:(NSString*)path;

/// Has the system give back memory, which takes 20 seconds, and tells the delegate how much.
- (OVTaskStatus)freeMemory;

// Settings. The first three toggles relaunch the Dock or the Finder, by a script on the main thread.

- (BOOL)isDashboardOn;
- (OVTaskStatus)toggleDashboard;
- (BOOL)showInvisibleFiles;
- (OVTaskStatus)toggleInvisibleFiles;
- (BOOL)showDownloadWarning;
- (OVTaskStatus)toggleDownloadWarning;
/// "JPG", "PNG", "PDF", "TIFF".
- (NSArray OV_OF(NSString*) *)screenshotFormats;
/// What is stored, in lower case if it was set here; nil when nothing is.
- (NSString* OV_NULLABLE)screenshotFormat;
- (OVTaskStatus)setScreenshotFormat:(NSString*)format;
- (BOOL)screenshotHasShadow;
- (OVTaskStatus)toggleScreenshotShadow;
/// The object in the persistent domain of that name; nil without the domain or the key.
- (id OV_NULLABLE)objectForKey:(NSString*)key defaults:(NSString*)defaults;
/// Stores a property-list object in the persistent domain of that name, whose other objects stay as they are. A failure
/// is not reported.
- (void)setObject:(id)object forKey:(NSString*)key defaults:(NSString*)defaults;

// The clipboard: on the main thread, where `OVPasteboardServer` says so.

/// 1 when the entry could not be put on the clipboard. Nil empties the clipboard.
- (OVTaskStatus)restoreItemsFromPasteboard:(NSPasteboard* OV_NULLABLE)pasteboard;
/// Always 0.
- (OVTaskStatus)clearPasteboardHistory;

@end

OV_ASSUME_NONNULL_END
