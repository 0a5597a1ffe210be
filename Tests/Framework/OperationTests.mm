#import "Tests/Cocoa/ReplacedMethod.h"
#import "Tests/Framework/FaceTest.h"

#import "Backends/Cocoa/CocoaWorkspace.h"
#import "Framework/OVConversions.h"

#include "Tasks/OVTaskRunner.h"

#include <cstring>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <pwd.h>
#include <spawn.h>

// Each method of the face does what its own operation of the core does, and no two do the same. What an operation does
// is noted where it leaves this process, and not done.

namespace {

std::vector<std::string>* notes = nullptr; ///< while one is observed
std::string home;

void note(const std::string& text) {
    notes->push_back(text);
}

/// A list of paths stands in a file of a new name; what counts is what it says.
std::string withoutListFile(std::string word) {
    if (word.rfind("cat ", 0) == 0) {
        const std::size_t end = word.find(" |");
        std::ifstream list(word.substr(4, end - 4));
        word.replace(4, end - 4, "[" + std::string(std::istreambuf_iterator<char>(list), {}) + "]");
    }
    return word;
}

NSString* const kApplicationPath = @"/Applications/Some.app";

} // namespace

extern "C" int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                           const posix_spawnattr_t* attributes, char* const arguments[], char* const environment[]) {
    static const auto real = reinterpret_cast<decltype(&posix_spawn)>(dlsym(RTLD_NEXT, "posix_spawn"));
    if (notes == nullptr) {
        return real(child, path, actions, attributes, arguments, environment);
    }
    std::string line = path;
    const bool saysHowMuch = line == "/bin/echo"; // of memory: not the same twice
    for (char* const* argument = arguments + 1; *argument != nullptr && !saysHowMuch; ++argument) {
        line += " <" + withoutListFile(*argument) + ">";
    }
    note(line);
    char name[] = "true";
    char* const nothing[] = {name, nullptr};
    return real(child, "/bin/true", actions, attributes, nothing, environment);
}

extern "C" int getpwuid_r(uid_t user, passwd* account, char* room, size_t size, passwd** found) {
    static const auto real = reinterpret_cast<decltype(&getpwuid_r)>(dlsym(RTLD_NEXT, "getpwuid_r"));
    const int error = real(user, account, room, size, found);
    if (notes != nullptr && error == 0 && *found != nullptr) {
        (*found)->pw_dir = home.data();
    }
    return error;
}

extern "C" NSInteger NSRunAlertPanel(NSString* title, NSString* /*message*/, NSString* /*first*/, NSString* /*second*/,
                                     NSString* /*third*/, ...) {
    note("panel " + facetest::text(title));
    return NSAlertAlternateReturn;
}

/// An application that has ended.
@interface OVTestApplication : NSObject
@end

@implementation OVTestApplication
- (NSString*)bundleIdentifier {
    return @"com.example.some";
}
- (NSString*)localizedName {
    return @"Some";
}
- (NSURL*)bundleURL {
    return [NSURL fileURLWithPath:kApplicationPath];
}
- (pid_t)processIdentifier {
    return -1;
}
- (NSApplicationActivationPolicy)activationPolicy {
    return NSApplicationActivationPolicyRegular;
}
- (BOOL)terminate {
    note("terminate");
    return YES;
}
@end

namespace facetest {

namespace {

using Core = orvane::OVTaskRunner;

id noteScript(id self, SEL /*selector*/, NSString* source) {
    note("script " + text(source));
    [self release];
    return nil;
}

NSDictionary* storedDomain(id /*self*/, SEL /*selector*/, NSString* /*name*/) {
    return nil;
}

void noteDomain(id /*self*/, SEL /*selector*/, NSDictionary* domain, NSString* name) {
    note("defaults " + text(name) + " " + text([domain description]));
}

BOOL noteLaunch(id /*self*/, SEL /*selector*/, NSString* path) {
    note("launch " + text(path));
    return YES;
}

id noteLaunchAtURL(id /*self*/, SEL /*selector*/, NSURL* url, NSWorkspaceLaunchOptions /*options*/,
                   NSDictionary* /*configuration*/, NSError** /*error*/) {
    note("launch at " + text([url path]));
    return nil;
}

/// What the face's owner and the core's answer alike.
NSArray* chosenPaths() {
    return [NSArray arrayWithObject:@"/chosen"];
}

class CoreOwner final : public orvane::OVTaskDelegate {
  public:
    void taskWillBegin(orvane::OVTask* /*task*/) override {}
    void task(orvane::OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}
    void hasOutputAvailable(std::optional<std::string_view> output) override { said += output.value_or("(nil)"); }
    bool shouldCancel() override { return false; }
    std::optional<std::string> archiveDesktopPath() override { return home + "/Archive"; }
    std::uint64_t largeFilesSize() override { return 7; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                                          bool /*allowsMultipleSelection*/) override {
        return orvane::face::pathsOf(chosenPaths());
    }

    std::string said;
};

struct Operation {
    SEL selector;
    id argument; ///< of a selector that takes one
    std::function<std::int32_t(Core&)> core;
};

std::int32_t performOnFace(OVTaskRunner* runner, const Operation& operation) {
    const IMP method = [runner methodForSelector:operation.selector];
    return std::strchr(sel_getName(operation.selector), ':') != nullptr
               ? reinterpret_cast<std::int32_t (*)(id, SEL, id)>(method)(runner, operation.selector, operation.argument)
               : reinterpret_cast<std::int32_t (*)(id, SEL)>(method)(runner, operation.selector);
}

class OperationTest : public FaceTest {
  protected:
    OperationTest() : folder_([[[NSFileManager defaultManager] createTemporaryDirectory] retain]) {
        home = text(folder_);
        for (NSString *file in
             [NSArray arrayWithObjects:@"Library/Caches/com.apple.Safari/cache", @"Library/Safari/History.plist",
                                       @"Library/Caches/com.apple.dashboard.client/widget", nil]) {
            NSString* const path = [folder_ stringByAppendingPathComponent:file];
            [[NSFileManager defaultManager] createDirectoryAtPath:[path stringByDeletingLastPathComponent]
                                      withIntermediateDirectories:YES
                                                       attributes:nil
                                                            error:NULL];
            EXPECT_TRUE([@"x" writeToFile:path atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
        }
    }
    ~OperationTest() override {
        [[NSFileManager defaultManager] removeItemAtPath:folder_ error:NULL];
        [folder_ release];
    }

    /// What the work does, each thing on a line of its own, and how it ends.
    template <typename Work> std::string observed(Work work) {
        NSString* const archive = [folder_ stringByAppendingPathComponent:@"Archive"];
        [[NSFileManager defaultManager] removeItemAtPath:archive error:NULL];
        [[NSFileManager defaultManager] createDirectoryAtPath:archive
                                  withIntermediateDirectories:NO
                                                   attributes:nil
                                                        error:NULL];
        const ReplacedMethod scripts([NSAppleScript class], @selector(initWithSource:),
                                     reinterpret_cast<IMP>(noteScript));
        const ReplacedMethod reading([NSUserDefaults class], @selector(persistentDomainForName:),
                                     reinterpret_cast<IMP>(storedDomain));
        const ReplacedMethod writing([NSUserDefaults class], @selector(setPersistentDomain:forName:),
                                     reinterpret_cast<IMP>(noteDomain));
        const ReplacedMethod launching([NSWorkspace class], @selector(launchApplication:),
                                       reinterpret_cast<IMP>(noteLaunch));
        const ReplacedMethod launchingAtURL([NSWorkspace class],
                                            @selector(launchApplicationAtURL:options:configuration:error:),
                                            reinterpret_cast<IMP>(noteLaunchAtURL));
        const Answering running([NSWorkspace class], @selector(runningApplications),
                                [NSArray arrayWithObject:application]);
        std::vector<std::string> noted;
        notes = &noted;
        const std::int32_t status = work();
        notes = nullptr;
        std::string all = "status " + std::to_string(status) + "\n";
        for (const std::string& line : noted) {
            all += line + "\n";
        }
        return all;
    }

    OVTestApplication* const application = [[[OVTestApplication alloc] init] autorelease];

  private:
    NSString* folder_;
};

TEST_F(OperationTest, EachMethodOfTheFaceIsItsOwnOperationOfTheCore) {
    const auto some = std::make_shared<orvane::cocoa::CocoaRunningApplication>(
        static_cast<NSRunningApplication*>(static_cast<id>(application)));
    NSArray* const paths = [NSArray arrayWithObjects:@"/no/such/a", @"/no/such/b", nil];
    const std::vector<std::string> corePaths = orvane::face::textsOf(paths);
    const Operation operations[] = {
        {@selector(runBashCommand:), @"a line", [](Core& core) { return core.runBashCommand("a line"); }},
        {@selector(runAppleScript:), @"a script", [](Core& core) { return core.runAppleScript("a script"); }},
        {@selector(runAuthorizedTask:), @"a task", [](Core& core) { return core.runAuthorizedTask(nullptr); }},
        {@selector(repairDiskPermissions), nil, &Core::repairDiskPermissions},
        {@selector(repairVolume:), @"/Volumes/A", [](Core& core) { return core.repairVolume("/Volumes/A"); }},
        {@selector(ejectVolume:), @"/Volumes/A", [](Core& core) { return core.ejectVolume("/Volumes/A"); }},
        {@selector(ejectAllVolumes), nil, &Core::ejectAllVolumes},
        {@selector(secureEraseFreeSpace:), @"/Volumes/A",
         [](Core& core) { return core.secureEraseFreeSpace("/Volumes/A"); }},
        {@selector(secureDeleteItemsAtPaths:), paths,
         [&](Core& core) { return core.secureDeleteItemsAtPaths(corePaths); }},
        {@selector(forceDeleteItemsAtPaths:), paths,
         [&](Core& core) { return core.forceDeleteItemsAtPaths(corePaths); }},
        {@selector(forceDeleteItemsAtGlobs:), [NSArray arrayWithObject:@"/bin/s[h]"],
         [](Core& core) { return core.forceDeleteItemsAtGlobs({"/bin/s[h]"}); }},
        {@selector(secureDeleteFiles), nil, &Core::secureDeleteFiles},
        {@selector(forceDeleteFiles), nil, &Core::forceDeleteFiles},
        {@selector(secureEmptyTrash), nil, &Core::secureEmptyTrash},
        {@selector(forceEmptyTrash), nil, &Core::forceEmptyTrash},
        {@selector(removeDSStoreFilesInPath:), @"/some/folder",
         [](Core& core) { return core.removeDSStoreFilesInPath("/some/folder"); }},
        {@selector(removeDSStoreFilesInHomeFolder), nil, &Core::removeDSStoreFilesInHomeFolder},
        {@selector(removeDSStoreFilesInFolder), nil, &Core::removeDSStoreFilesInFolder},
        {@selector(removeCorruptUserPreferences), nil, &Core::removeCorruptUserPreferences},
        {@selector(removeCorruptPreferencesInPaths:), paths,
         [&](Core& core) { return core.removeCorruptPreferencesInPaths(corePaths); }},
        {@selector(cleanStaleTemporaryFiles), nil, &Core::cleanStaleTemporaryFiles},
        {@selector(quitAllApplications), nil, &Core::quitAllApplications},
        {@selector(relaunchApplication:), application, [&](Core& core) { return core.relaunchApplication(some); }},
        {@selector(relaunchFinder), nil, &Core::relaunchFinder},
        {@selector(relaunchDock), nil, &Core::relaunchDock},
        {@selector(relaunchSystemMenu), nil, &Core::relaunchSystemMenu},
        {@selector(restartAirport), nil, &Core::restartAirport},
        {@selector(turnOnScreensaver), nil, &Core::turnOnScreensaver},
        {@selector(restartOrShutdown), nil, &Core::restartOrShutdown},
        {@selector(restart), nil, &Core::restart},
        {@selector(shutdown), nil, &Core::shutdown},
        {@selector(cleanUserCache), nil, &Core::cleanUserCache},
        {@selector(cleanDashboardCache), nil, &Core::cleanDashboardCache},
        {@selector(cleanBrowserCache:), kOVBrowserSafari,
         [](Core& core) { return core.cleanBrowserCache(orvane::kOVBrowserSafari); }},
        {@selector(cleanBrowserHistory:), kOVBrowserSafari,
         [](Core& core) { return core.cleanBrowserHistory(orvane::kOVBrowserSafari); }},
        {@selector(cleanDesktop), nil, &Core::cleanDesktop},
        {@selector(vacuumAppleMailIndex), nil, &Core::vacuumAppleMailIndex},
        {@selector(rebuildLaunchServices), nil, &Core::rebuildLaunchServices},
        {@selector(findLargeFilesInPath:), @"/some/folder",
         [](Core& core) { return core.findLargeFilesInPath("/some/folder"); }},
        {@selector(freeMemory), nil, &Core::freeMemory},
        {@selector(toggleDashboard), nil, &Core::toggleDashboard},
        {@selector(toggleInvisibleFiles), nil, &Core::toggleInvisibleFiles},
        {@selector(toggleDownloadWarning), nil, &Core::toggleDownloadWarning},
        {@selector(setScreenshotFormat:), @"PNG", [](Core& core) { return core.setScreenshotFormat("PNG"); }},
        {@selector(toggleScreenshotShadow), nil, &Core::toggleScreenshotShadow},
    };
    std::map<std::string, std::string> does;
    for (const Operation& operation : operations) {
        @autoreleasepool {
            const std::string name = sel_getName(operation.selector);
            OVTestOwner* const owner = [[[OVTestOwner alloc] init] autorelease];
            owner->archive = [NSString stringWithFormat:@"%s/Archive", home.c_str()];
            owner->size = 7;
            owner->chosen = chosenPaths();
            OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
            [runner setDelegate:owner];
            std::string byFace = observed([&] { return performOnFace(runner, operation); });
            byFace += text(owner->output);
            [runner setDelegate:nil];

            const auto coreOwner = std::make_shared<CoreOwner>();
            Core core;
            core.setDelegate(coreOwner);
            std::string byCore = observed([&] { return operation.core(core); });
            byCore += coreOwner->said;
            core.setDelegate(nullptr);

            EXPECT_EQ(byFace, byCore) << name;
            const auto [other, isNew] = does.emplace(byFace, name);
            EXPECT_TRUE(isNew) << name << " does what " << other->second << " does: " << byFace;
        }
    }
}

TEST_F(OperationTest, AnApplicationThatHasEndedIsNotLaunchedByForce) {
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    const std::string seen = observed(
        [&] { return [runner forceQuitApplication:static_cast<NSRunningApplication*>(static_cast<id>(application))]; });
    EXPECT_EQ(seen, "status 1\n");
}

// The one setting that is stored.
NSString* storedKey = nil;
NSString* storedIn = nil;

NSDictionary* oneSetting(id /*self*/, SEL /*selector*/, NSString* name) {
    return [name isEqual:storedIn] ? [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES] forKey:storedKey]
                                   : nil;
}

TEST_F(OperationTest, EachQuestionReadsItsOwnSetting) {
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    const ReplacedMethod reading([NSUserDefaults class], @selector(persistentDomainForName:),
                                 reinterpret_cast<IMP>(oneSetting));
    const auto answers = [&](NSString* key, NSString* domain) {
        storedKey = key;
        storedIn = domain;
        std::string all;
        for (const BOOL answer : {[runner isDashboardOn],
                                  [runner showInvisibleFiles],
                                  [runner showDownloadWarning],
                                  [runner screenshotHasShadow]}) {
            all += answer != NO ? '1' : '0';
        }
        return all;
    };
    EXPECT_EQ(answers(nil, nil), "1001");
    EXPECT_EQ(answers(@"mcx-disabled", @"com.apple.dashboard"), "0001");
    EXPECT_EQ(answers(@"AppleShowAllFiles", @"com.apple.finder"), "1101");
    EXPECT_EQ(answers(@"LSQuarantine", @"com.apple.LaunchServices"), "1011");
    EXPECT_EQ(answers(@"disable-shadow", @"com.apple.screencapture"), "1000");
}

} // namespace

} // namespace facetest
