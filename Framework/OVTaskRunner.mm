#import <Orvane/OVTaskRunner.h>

#import "Backends/Cocoa/CocoaUserDefaults.h"
#import "Backends/Cocoa/CocoaWorkspace.h"
#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"

#include "Tasks/OVTaskRunner.h"

#include <functional>
#include <type_traits>

OVVolumeKey const OVVolumePath = @"OVVolumePath";
OVVolumeKey const OVVolumeOwner = @"OVVolumeOwner";
OVVolumeKey const OVVolumeIsLocal = @"OVVolumeIsLocal";
OVVolumeKey const OVVolumeTotalSpace = @"OVVolumeTotalSpace";
OVVolumeKey const OVVolumeFreeSpace = @"OVVolumeFreeSpace";

OVBrowser const kOVBrowserSafari = @"com.apple.safari";
OVBrowser const kOVBrowserFirefox = @"org.mozilla.firefox";
OVBrowser const kOVBrowserChrome = @"com.google.chrome";
OVBrowser const kOVBrowsersAll = @"ALL_BROWSERS";

NSString* const kOVSecureEraseFreeSpaceTempFilename = @"secure-erase.temp";

namespace cocoa = orvane::cocoa;
namespace face = orvane::face;
using Tasks = orvane::OVTaskRunner;

namespace {

/// The core's runner, and its owner: the Objective-C delegate, whichever there is when it is asked. A message to nil
/// answers as the core does without a delegate.
class Core final : public orvane::OVTaskDelegate {
  public:
    explicit Core(::OVTaskRunner* runner) : runner_(runner) {
        tasks.setDelegate({std::shared_ptr<void>(), this}); // no reference to itself
    }

    void taskWillBegin(orvane::OVTask* /*task*/) override {}
    void task(orvane::OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}

    void hasOutputAvailable(std::optional<std::string_view> output) override {
        exception.guard(0, [&] {
            [[runner_ delegate] hasOutputAvailable:face::ifAny(output, face::stringOf)];
            return 0;
        });
    }

    bool shouldCancel() override {
        return exception.isHeld() || exception.guard(true, [&] { return [[runner_ delegate] shouldCancel] != NO; });
    }

    std::optional<std::string> archiveDesktopPath() override {
        return exception.guard(std::optional<std::string>(),
                               [&] { return face::ifAny([[runner_ delegate] archiveDesktopPath], face::pathOf); });
    }

    std::uint64_t largeFilesSize() override {
        return exception.guard(std::uint64_t{0}, [&] { return std::uint64_t{[[runner_ delegate] largeFilesSize]}; });
    }

    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool directoriesOnly,
                                                                          bool allowsMultipleSelection) override {
        return exception.guard(std::optional<std::vector<std::string>>(), [&] {
            return face::ifAny([[runner_ delegate] inputPathsWithDirectoriesOnly:(directoriesOnly ? YES : NO)
                                                         allowsMultipleSelection:(allowsMultipleSelection ? YES : NO)],
                               face::pathsOf);
        });
    }

    Tasks tasks;
    face::HeldException exception;

  private:
    ::OVTaskRunner* runner_; // which owns this
};

/// What a method of the face does: the same of the core's. What the delegate raised meanwhile is raised behind it.
template <typename Operation, typename... Arguments>
auto perform(void* core, Operation operation, const Arguments&... arguments) {
    auto result = std::invoke(operation, static_cast<Core*>(core)->tasks, arguments...);
    static_cast<Core*>(core)->exception.raise();
    if constexpr (std::is_same_v<decltype(result), std::int32_t>) {
        return static_cast<OVTaskStatus>(result);
    } else {
        return result;
    }
}

std::shared_ptr<orvane::RunningApplication> coreApplication(NSRunningApplication* application) {
    return application != nil ? std::make_shared<cocoa::CocoaRunningApplication>(application) : nullptr;
}

NSRunningApplication* applicationOf(const std::shared_ptr<orvane::RunningApplication>& application) {
    return static_cast<cocoa::CocoaRunningApplication&>(*application).application();
}

} // namespace

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

- (OVTaskStatus)runCommand:(NSString*)path arguments:(NSArray*)arguments {
    return perform(core_, &Tasks::runCommand, face::textOf(path), face::textsOf(arguments));
}

- (OVTaskStatus)runBashCommand:(NSString*)command {
    return perform(core_, [&](Tasks& tasks) { return tasks.runBashCommand(face::textOf(command)); });
}

- (OVTaskStatus)runBashCommand:(NSString*)command onItemsAtPaths:(NSArray*)paths {
    return perform(core_,
                   [&](Tasks& tasks) { return tasks.runBashCommand(face::textOf(command), face::textsOf(paths)); });
}

- (OVTaskStatus)runAppleScript:(NSString*)source {
    return perform(core_, &Tasks::runAppleScript, face::textOf(source));
}

- (OVTaskStatus)runAuthorizedTask:(id)task {
    return perform(core_, &Tasks::runAuthorizedTask, task);
}

- (NSMutableArray*)pathsByExpandingGlobs:(NSArray*)globs {
    return face::stringsOfPaths(perform(core_, &Tasks::pathsByExpandingGlobs, face::textsOf(globs)));
}

- (void)shellCommandHasOutputAvailable:(NSString*)chunk {
    [[self delegate] hasOutputAvailable:chunk];
}

- (BOOL)shellCommandShouldCancel {
    return [[self delegate] shouldCancel];
}

- (OVTaskStatus)repairDiskPermissions {
    return perform(core_, &Tasks::repairDiskPermissions);
}

- (OVTaskStatus)repairVolume:(NSString*)volume {
    return perform(core_, &Tasks::repairVolume, face::textOf(volume));
}

- (OVTaskStatus)ejectVolume:(NSString*)path {
    return perform(core_, &Tasks::ejectVolume, face::textOf(path));
}

- (NSString*)secureEraseFreeSpaceCommand:(NSString*)path {
    return face::stringOf(perform(core_, &Tasks::secureEraseFreeSpaceCommand, face::textOf(path)));
}

- (OVTaskStatus)secureEraseFreeSpace:(NSString*)path {
    return perform(core_, &Tasks::secureEraseFreeSpace, face::textOf(path));
}

- (OVTaskStatus)ejectAllVolumes {
    return perform(core_, &Tasks::ejectAllVolumes);
}

- (NSArray*)mountedBrowsableVolumes {
    return face::ifAny(perform(core_, &Tasks::mountedBrowsableVolumes),
                       [](const auto& volumes) { return face::arrayOf(volumes, face::dictionaryOf); });
}

- (OVTaskStatus)secureDeleteItemsAtPaths:(NSArray*)paths {
    return perform(core_, &Tasks::secureDeleteItemsAtPaths, face::textsOf(paths));
}

- (OVTaskStatus)forceDeleteItemsAtPaths:(NSArray*)paths {
    return perform(core_, &Tasks::forceDeleteItemsAtPaths, face::textsOf(paths));
}

- (OVTaskStatus)forceDeleteItemsAtGlobs:(NSArray*)globs {
    return perform(core_, &Tasks::forceDeleteItemsAtGlobs, face::textsOf(globs));
}

- (OVTaskStatus)secureDeleteFiles {
    return perform(core_, &Tasks::secureDeleteFiles);
}

- (OVTaskStatus)forceDeleteFiles {
    return perform(core_, &Tasks::forceDeleteFiles);
}

- (OVTaskStatus)secureEmptyTrash {
    return perform(core_, &Tasks::secureEmptyTrash);
}

- (OVTaskStatus)forceEmptyTrash {
    return perform(core_, &Tasks::forceEmptyTrash);
}

- (OVTaskStatus)removeDSStoreFilesInPath:(NSString*)path {
    return perform(core_, &Tasks::removeDSStoreFilesInPath, face::textOf(path));
}

- (OVTaskStatus)removeDSStoreFilesInHomeFolder {
    return perform(core_, &Tasks::removeDSStoreFilesInHomeFolder);
}

- (OVTaskStatus)removeDSStoreFilesInFolder {
    return perform(core_, &Tasks::removeDSStoreFilesInFolder);
}

- (NSArray*)promptForFiles {
    return [self pathsWithDirectoriesOnly:NO allowsMultipleSelection:YES];
}

- (NSString*)promptForFolder {
    return face::ifAny(perform(core_, &Tasks::promptForFolder), face::stringOfPath);
}

- (NSArray*)pathsWithDirectoriesOnly:(BOOL)directoriesOnly allowsMultipleSelection:(BOOL)allowsMultipleSelection {
    return face::ifAny(
        perform(core_, &Tasks::pathsWithDirectoriesOnly, directoriesOnly != NO, allowsMultipleSelection != NO),
        face::stringsOfPaths);
}

- (NSString*)homeDirectory {
    return face::stringOfPath(perform(core_, &Tasks::homeDirectory));
}

- (NSString*)userLibraryFolder {
    return face::stringOfPath(perform(core_, &Tasks::userLibraryFolder));
}

- (NSMutableArray*)userTrashitems {
    return face::stringsOfPaths(perform(core_, &Tasks::userTrashitems));
}

- (OVTaskStatus)removeCorruptUserPreferences {
    return perform(core_, &Tasks::removeCorruptUserPreferences);
}

- (OVTaskStatus)removeCorruptPreferencesInPaths:(NSArray*)paths {
    return perform(core_, &Tasks::removeCorruptPreferencesInPaths, face::textsOf(paths));
}

- (OVTaskStatus)cleanStaleTemporaryFiles {
    return perform(core_, &Tasks::cleanStaleTemporaryFiles);
}

- (OVTaskStatus)quitAllApplications {
    return perform(core_, &Tasks::quitAllApplications);
}

- (OVTaskStatus)forceQuitApplication:(NSRunningApplication*)application {
    return perform(core_, &Tasks::forceQuitApplication, coreApplication(application));
}

- (NSArray*)runningForegroundApplications {
    return face::arrayOf(perform(core_, &Tasks::runningForegroundApplications), applicationOf);
}

- (OVTaskStatus)relaunchApplication:(NSRunningApplication*)application {
    return perform(core_, &Tasks::relaunchApplication, coreApplication(application));
}

- (OVTaskStatus)relaunchFinder {
    return perform(core_, &Tasks::relaunchFinder);
}

- (OVTaskStatus)relaunchDock {
    return perform(core_, &Tasks::relaunchDock);
}

- (OVTaskStatus)relaunchSystemMenu {
    return perform(core_, &Tasks::relaunchSystemMenu);
}

- (OVTaskStatus)restartAirport {
    return perform(core_, &Tasks::restartAirport);
}

- (OVTaskStatus)turnOnScreensaver {
    return perform(core_, &Tasks::turnOnScreensaver);
}

- (OVTaskStatus)restartOrShutdown {
    return perform(core_, &Tasks::restartOrShutdown);
}

- (OVTaskStatus)restart {
    return perform(core_, &Tasks::restart);
}

- (OVTaskStatus)shutdown {
    return perform(core_, &Tasks::shutdown);
}

- (OVTaskStatus)cleanUserCache {
    return perform(core_, &Tasks::cleanUserCache);
}

- (OVTaskStatus)cleanDashboardCache {
    return perform(core_, &Tasks::cleanDashboardCache);
}

- (OVTaskStatus)cleanBrowserCache:(OVBrowser)browser {
    return perform(core_, &Tasks::cleanBrowserCache, face::textOf(browser));
}

- (OVTaskStatus)cleanBrowserHistory:(OVBrowser)browser {
    return perform(core_, &Tasks::cleanBrowserHistory, face::textOf(browser));
}

- (OVTaskStatus)cleanDesktop {
    return perform(core_, &Tasks::cleanDesktop);
}

- (OVTaskStatus)vacuumAppleMailIndex {
    return perform(core_, &Tasks::vacuumAppleMailIndex);
}

- (OVTaskStatus)rebuildLaunchServices {
    return perform(core_, &Tasks::rebuildLaunchServices);
}

- (OVTaskStatus)findLargeFilesInPath:(NSString*)path {
    return perform(core_, &Tasks::findLargeFilesInPath, face::textOf(path));
}

- (OVTaskStatus)freeMemory {
    return perform(core_, &Tasks::freeMemory);
}

// An object that the host reads or sets itself does not become a value of the core's on the way.

- (BOOL)isDashboardOn {
    return perform(core_, &Tasks::isDashboardOn) ? YES : NO;
}

- (OVTaskStatus)toggleDashboard {
    return perform(core_, &Tasks::toggleDashboard);
}

- (BOOL)showInvisibleFiles {
    return perform(core_, &Tasks::showInvisibleFiles) ? YES : NO;
}

- (OVTaskStatus)toggleInvisibleFiles {
    return perform(core_, &Tasks::toggleInvisibleFiles);
}

- (BOOL)showDownloadWarning {
    return perform(core_, &Tasks::showDownloadWarning) ? YES : NO;
}

- (OVTaskStatus)toggleDownloadWarning {
    return perform(core_, &Tasks::toggleDownloadWarning);
}

- (NSArray*)screenshotFormats {
    return face::arrayOf(perform(core_, &Tasks::screenshotFormats), face::stringOf);
}

- (NSString*)screenshotFormat {
    return [self objectForKey:@"type" defaults:@"com.apple.screencapture"]; // as it is stored, whatever it is
}

- (OVTaskStatus)setScreenshotFormat:(NSString*)format {
    [self setObject:[format lowercaseString] forKey:@"type" defaults:@"com.apple.screencapture"];
    return [self relaunchSystemMenu];
}

- (BOOL)screenshotHasShadow {
    return perform(core_, &Tasks::screenshotHasShadow) ? YES : NO;
}

- (OVTaskStatus)toggleScreenshotShadow {
    return perform(core_, &Tasks::toggleScreenshotShadow);
}

- (id)objectForKey:(NSString*)key defaults:(NSString*)defaults {
    return cocoa::objectInDomain(cocoa::freshUserDefaults(), key, defaults);
}

- (void)setObject:(id)object forKey:(NSString*)key defaults:(NSString*)defaults {
    NSUserDefaults* const userDefaults = cocoa::freshUserDefaults();
    cocoa::setObjectInDomain(userDefaults, object, key, defaults);
    [userDefaults synchronize];
}

- (OVTaskStatus)restoreItemsFromPasteboard:(NSPasteboard*)pasteboard {
    return [[self pasteboardServer] restoreItemsFromPasteboard:pasteboard] ? OVTaskStatusSuccess : OVTaskStatusFailure;
}

- (OVTaskStatus)clearPasteboardHistory {
    [[self pasteboardServer] clearHistory];
    return OVTaskStatusSuccess;
}

@end
