#import "Framework/OVTaskRunner.h"

#import "Backends/Cocoa/CocoaUserDefaults.h"
#import "Backends/Cocoa/CocoaWorkspace.h"
#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"
#import "Framework/OVPasteboardServer.h"

#include "Tasks/OVTaskRunner.h"

NSString* const OVVolumePath = @"OVVolumePath";
NSString* const OVVolumeOwner = @"OVVolumeOwner";
NSString* const OVVolumeIsLocal = @"OVVolumeIsLocal";
NSString* const OVVolumeTotalSpace = @"OVVolumeTotalSpace";
NSString* const OVVolumeFreeSpace = @"OVVolumeFreeSpace";

NSString* const kOVBrowserSafari = @"com.apple.safari";
NSString* const kOVBrowserFirefox = @"org.mozilla.firefox";
NSString* const kOVBrowserChrome = @"com.google.chrome";
NSString* const kOVBrowsersAll = @"ALL_BROWSERS";

NSString* const kOVSecureEraseFreeSpaceTempFilename = @"secure-erase.temp";

namespace cocoa = orvane::cocoa;
namespace face = orvane::face;

namespace {

/// The runner's Objective-C delegate as the core sees it: whichever it has when it is asked. A message to nil answers
/// as the core does without a delegate.
class Owner final : public orvane::OVTaskDelegate {
  public:
    explicit Owner(::OVTaskRunner* runner) : runner_(runner) {}

    void taskWillBegin(orvane::OVTask* /*task*/) override {}
    void task(orvane::OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}

    void hasOutputAvailable(std::optional<std::string_view> output) override {
        exception.guard(0, [&] {
            [[runner_ delegate] hasOutputAvailable:output ? face::stringOf(*output) : nil];
            return 0;
        });
    }

    bool shouldCancel() override {
        return exception.isHeld() || exception.guard(true, [&] { return [[runner_ delegate] shouldCancel] != NO; });
    }

    std::optional<std::string> archiveDesktopPath() override {
        return exception.guard(std::optional<std::string>(),
                               [&] { return face::optionalPathOf([[runner_ delegate] archiveDesktopPath]); });
    }

    std::uint64_t largeFilesSize() override {
        return exception.guard(std::uint64_t{0}, [&] { return std::uint64_t{[[runner_ delegate] largeFilesSize]}; });
    }

    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool directoriesOnly,
                                                                          bool allowsMultipleSelection) override {
        using Paths = std::optional<std::vector<std::string>>;
        return exception.guard(Paths(), [&] {
            NSArray* const chosen =
                [[runner_ delegate] inputPathsWithDirectoriesOnly:(directoriesOnly ? YES : NO)
                                          allowsMultipleSelection:(allowsMultipleSelection ? YES : NO)];
            return chosen != nil ? Paths(face::pathsOf(chosen)) : Paths();
        });
    }

    face::HeldException exception;

  private:
    ::OVTaskRunner* runner_; // which owns this
};

struct Core {
    explicit Core(::OVTaskRunner* runner) : owner(std::make_shared<Owner>(runner)) { tasks.setDelegate(owner); }
    Core(const Core&) = delete;
    Core& operator=(const Core&) = delete;
    ~Core() { tasks.setDelegate(nullptr); }

    /// Calls the core; what a delegate raised meanwhile is raised behind it.
    template <typename Call> auto perform(Call call) {
        auto result = call(tasks);
        owner->exception.raise();
        return result;
    }

    orvane::OVTaskRunner tasks;
    std::shared_ptr<Owner> owner;
};

std::shared_ptr<orvane::RunningApplication> coreApplication(NSRunningApplication* application) {
    return application != nil ? std::make_shared<cocoa::CocoaRunningApplication>(application) : nullptr;
}

} // namespace

/// What a method of the face does: the same of the core's.
#define OV_FORWARD(expression)                                                                                         \
    static_cast<Core*>(core_)->perform([&](orvane::OVTaskRunner& tasks) { return tasks.expression; })

@implementation OVTaskRunner

@synthesize pasteboardServer = pasteboardServer_;
@synthesize delegate = delegate_;

- (id)init {
    if ((self = [super init]) != nil) {
        core_ = new Core(self);
    }
    return self;
}

- (void)dealloc {
    // Deliberately releases neither property.
    delete static_cast<Core*>(core_);
    [super dealloc];
}

#pragma mark The command layer

- (int32_t)runCommand:(NSString*)path arguments:(NSArray*)arguments {
    return OV_FORWARD(runCommand(face::textOf(path), face::textsOf(arguments)));
}

- (int32_t)runBashCommand:(NSString*)command {
    return OV_FORWARD(runBashCommand(face::textOf(command)));
}

- (int32_t)runBashCommand:(NSString*)command onItemsAtPaths:(NSArray*)paths {
    return OV_FORWARD(runBashCommand(face::textOf(command), face::textsOf(paths)));
}

- (int32_t)runAppleScript:(NSString*)source {
    return OV_FORWARD(runAppleScript(face::textOf(source)));
}

- (int32_t)runAuthorizedTask:(id)task {
    return OV_FORWARD(runAuthorizedTask(task));
}

- (NSMutableArray*)pathsByExpandingGlobs:(NSArray*)globs {
    return face::stringsOfPaths(OV_FORWARD(pathsByExpandingGlobs(face::textsOf(globs))));
}

- (void)shellCommandHasOutputAvailable:(NSString*)chunk {
    [[self delegate] hasOutputAvailable:chunk];
}

- (BOOL)shellCommandShouldCancel {
    return [[self delegate] shouldCancel];
}

#pragma mark Volumes and disks

- (int32_t)repairDiskPermissions {
    return OV_FORWARD(repairDiskPermissions());
}

- (int32_t)repairVolume:(NSString*)volume {
    return OV_FORWARD(repairVolume(face::textOf(volume)));
}

- (int32_t)ejectVolume:(NSString*)path {
    return OV_FORWARD(ejectVolume(face::textOf(path)));
}

- (NSString*)secureEraseFreeSpaceCommand:(NSString*)path {
    return face::stringOf(OV_FORWARD(secureEraseFreeSpaceCommand(face::textOf(path))));
}

- (int32_t)secureEraseFreeSpace:(NSString*)path {
    return OV_FORWARD(secureEraseFreeSpace(face::textOf(path)));
}

- (int32_t)ejectAllVolumes {
    return OV_FORWARD(ejectAllVolumes());
}

- (NSArray*)mountedBrowsableVolumes {
    const auto volumes = OV_FORWARD(mountedBrowsableVolumes());
    if (!volumes) {
        return nil;
    }
    NSMutableArray* const result = [NSMutableArray arrayWithCapacity:volumes->size()];
    for (const orvane::OVVolumeDictionary& volume : *volumes) {
        [result addObject:face::dictionaryOf(volume)];
    }
    return result;
}

#pragma mark Deletion

- (int32_t)secureDeleteItemsAtPaths:(NSArray*)paths {
    return OV_FORWARD(secureDeleteItemsAtPaths(face::textsOf(paths)));
}

- (int32_t)forceDeleteItemsAtPaths:(NSArray*)paths {
    return OV_FORWARD(forceDeleteItemsAtPaths(face::textsOf(paths)));
}

- (int32_t)forceDeleteItemsAtGlobs:(NSArray*)globs {
    return OV_FORWARD(forceDeleteItemsAtGlobs(face::textsOf(globs)));
}

- (int32_t)secureDeleteFiles {
    return OV_FORWARD(secureDeleteFiles());
}

- (int32_t)forceDeleteFiles {
    return OV_FORWARD(forceDeleteFiles());
}

- (int32_t)secureEmptyTrash {
    return OV_FORWARD(secureEmptyTrash());
}

- (int32_t)forceEmptyTrash {
    return OV_FORWARD(forceEmptyTrash());
}

- (int32_t)removeDSStoreFilesInPath:(NSString*)path {
    return OV_FORWARD(removeDSStoreFilesInPath(face::textOf(path)));
}

- (int32_t)removeDSStoreFilesInHomeFolder {
    return OV_FORWARD(removeDSStoreFilesInHomeFolder());
}

- (int32_t)removeDSStoreFilesInFolder {
    return OV_FORWARD(removeDSStoreFilesInFolder());
}

- (NSArray*)promptForFiles {
    return [self pathsWithDirectoriesOnly:NO allowsMultipleSelection:YES];
}

- (NSString*)promptForFolder {
    const auto folder = OV_FORWARD(promptForFolder());
    return folder ? face::stringOfPath(*folder) : nil;
}

- (NSArray*)pathsWithDirectoriesOnly:(BOOL)directoriesOnly allowsMultipleSelection:(BOOL)allowsMultipleSelection {
    const auto paths = OV_FORWARD(pathsWithDirectoriesOnly(directoriesOnly != NO, allowsMultipleSelection != NO));
    return paths ? face::stringsOfPaths(*paths) : nil;
}

- (NSString*)homeDirectory {
    return face::stringOfPath(OV_FORWARD(homeDirectory()));
}

- (NSString*)userLibraryFolder {
    return face::stringOfPath(OV_FORWARD(userLibraryFolder()));
}

- (NSMutableArray*)userTrashitems {
    return face::stringsOfPaths(OV_FORWARD(userTrashitems()));
}

#pragma mark Preferences and leftovers

- (int32_t)removeCorruptUserPreferences {
    return OV_FORWARD(removeCorruptUserPreferences());
}

- (int32_t)removeCorruptPreferencesInPaths:(NSArray*)paths {
    return OV_FORWARD(removeCorruptPreferencesInPaths(face::textsOf(paths)));
}

- (int32_t)cleanStaleTemporaryFiles {
    return OV_FORWARD(cleanStaleTemporaryFiles());
}

#pragma mark Applications, restart and shutdown

- (int32_t)quitAllApplications {
    return OV_FORWARD(quitAllApplications());
}

- (int32_t)forceQuitApplication:(NSRunningApplication*)application {
    return OV_FORWARD(forceQuitApplication(coreApplication(application)));
}

- (NSArray*)runningForegroundApplications {
    const auto applications = OV_FORWARD(runningForegroundApplications());
    NSMutableArray* const result = [NSMutableArray arrayWithCapacity:applications.size()];
    for (const auto& application : applications) {
        [result addObject:static_cast<cocoa::CocoaRunningApplication&>(*application).application()];
    }
    return result;
}

- (int32_t)relaunchApplication:(NSRunningApplication*)application {
    return OV_FORWARD(relaunchApplication(coreApplication(application)));
}

- (int32_t)relaunchFinder {
    return OV_FORWARD(relaunchFinder());
}

- (int32_t)relaunchDock {
    return OV_FORWARD(relaunchDock());
}

- (int32_t)relaunchSystemMenu {
    return OV_FORWARD(relaunchSystemMenu());
}

- (int32_t)restartAirport {
    return OV_FORWARD(restartAirport());
}

- (int32_t)turnOnScreensaver {
    return OV_FORWARD(turnOnScreensaver());
}

- (int32_t)restartOrShutdown {
    return OV_FORWARD(restartOrShutdown());
}

- (int32_t)restart {
    return OV_FORWARD(restart());
}

- (int32_t)shutdown {
    return OV_FORWARD(shutdown());
}

#pragma mark Cleaning

- (int32_t)cleanUserCache {
    return OV_FORWARD(cleanUserCache());
}

- (int32_t)cleanDashboardCache {
    return OV_FORWARD(cleanDashboardCache());
}

- (int32_t)cleanBrowserCache:(NSString*)browser {
    return OV_FORWARD(cleanBrowserCache(face::textOf(browser)));
}

- (int32_t)cleanBrowserHistory:(NSString*)browser {
    return OV_FORWARD(cleanBrowserHistory(face::textOf(browser)));
}

- (int32_t)cleanDesktop {
    return OV_FORWARD(cleanDesktop());
}

- (int32_t)vacuumAppleMailIndex {
    return OV_FORWARD(vacuumAppleMailIndex());
}

- (int32_t)rebuildLaunchServices {
    return OV_FORWARD(rebuildLaunchServices());
}

#pragma mark Large files and memory

- (int32_t)findLargeFilesInPath:(NSString*)path {
    return OV_FORWARD(findLargeFilesInPath(face::textOf(path)));
}

- (int32_t)freeMemory {
    return OV_FORWARD(freeMemory());
}

#pragma mark Settings

// An object that the host reads or sets itself does not become a value of the core's on the way.

- (BOOL)isDashboardOn {
    return OV_FORWARD(isDashboardOn()) ? YES : NO;
}

- (int32_t)toggleDashboard {
    return OV_FORWARD(toggleDashboard());
}

- (BOOL)showInvisibleFiles {
    return OV_FORWARD(showInvisibleFiles()) ? YES : NO;
}

- (int32_t)toggleInvisibleFiles {
    return OV_FORWARD(toggleInvisibleFiles());
}

- (BOOL)showDownloadWarning {
    return OV_FORWARD(showDownloadWarning()) ? YES : NO;
}

- (int32_t)toggleDownloadWarning {
    return OV_FORWARD(toggleDownloadWarning());
}

- (NSArray*)screenshotFormats {
    return face::stringsOf(OV_FORWARD(screenshotFormats()));
}

- (NSString*)screenshotFormat {
    return [self objectForKey:@"type" defaults:@"com.apple.screencapture"]; // as it is stored, whatever it is
}

- (int32_t)setScreenshotFormat:(NSString*)format {
    return OV_FORWARD(setScreenshotFormat(face::textOf([format lowercaseString])));
}

- (BOOL)screenshotHasShadow {
    return OV_FORWARD(screenshotHasShadow()) ? YES : NO;
}

- (int32_t)toggleScreenshotShadow {
    return OV_FORWARD(toggleScreenshotShadow());
}

- (id)objectForKey:(NSString*)key defaults:(NSString*)defaults {
    return cocoa::objectInDomain(cocoa::freshUserDefaults(), key, defaults);
}

- (void)setObject:(id)object forKey:(NSString*)key defaults:(NSString*)defaults {
    NSUserDefaults* const userDefaults = cocoa::freshUserDefaults();
    cocoa::setObjectInDomain(userDefaults, object, key, defaults);
    [userDefaults synchronize];
}

#pragma mark The clipboard

- (int32_t)restoreItemsFromPasteboard:(NSPasteboard*)pasteboard {
    return [[self pasteboardServer] restoreItemsFromPasteboard:pasteboard] ? 0 : 1;
}

- (int32_t)clearPasteboardHistory {
    [[self pasteboardServer] clearHistory];
    return 0;
}

@end
