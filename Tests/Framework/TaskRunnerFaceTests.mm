#import "Tests/Cocoa/ReplacedMethod.h"
#import "Tests/Framework/FaceTest.h"

#import "Backends/Cocoa/GNUstepCompatibility.h"
#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"

#include "Tasks/OVTaskRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace facetest {

namespace {

// Of the one domain of a test.
NSDictionary* theirDomain = nil;
NSDictionary* writtenDomain = nil;

NSDictionary* readDomain(id /*self*/, SEL /*selector*/, NSString* name) {
    return [name isEqual:@"com.apple.screencapture"] ? theirDomain : nil;
}

void keepDomain(id /*self*/, SEL /*selector*/, NSDictionary* domain, NSString* /*name*/) {
    [writtenDomain release];
    writtenDomain = [domain copy];
}

class TaskRunnerFaceTest : public FaceTest {
  protected:
    TaskRunnerFaceTest() : runner([[OVTaskRunner alloc] init]), owner([[OVTestOwner alloc] init]) {
        [runner setDelegate:owner];
    }
    ~TaskRunnerFaceTest() override {
        [runner setDelegate:nil];
        [runner release];
        [owner release];
    }

    OVTaskRunner* runner;
    OVTestOwner* owner;
};

TEST_F(TaskRunnerFaceTest, StartsWithoutDelegateAndServer) {
    OVTaskRunner* const fresh = [[[OVTaskRunner alloc] init] autorelease];
    EXPECT_EQ([fresh delegate], nil);
    EXPECT_EQ([fresh pasteboardServer], nil);
    EXPECT_EQ([fresh runBashCommand:@"echo nobody listens"], 0);
    EXPECT_FALSE([fresh shellCommandShouldCancel]);
}

TEST_F(TaskRunnerFaceTest, StreamsOutputToTheDelegateAsText) {
    EXPECT_EQ([runner runBashCommand:@"echo Größe; echo error >&2"], 0);
    EXPECT_EQ(text(owner->output), "Größe\nerror\n");
    EXPECT_GE(owner->questions, 2);
}

TEST_F(TaskRunnerFaceTest, GivesNilForOutputThatIsNoText) {
    EXPECT_EQ([runner runBashCommand:@"printf '\\377\\376'"], 0);
    EXPECT_EQ(text(owner->output), "(nil)");
}

TEST_F(TaskRunnerFaceTest, MapsExitCodesAndCancelsToTheTaskStatus) {
    EXPECT_EQ([runner runCommand:@"/bin/sh" arguments:([NSArray arrayWithObjects:@"-c", @"exit 2", nil])], 1);
    EXPECT_EQ([runner runCommand:@"/bin/true" arguments:nil], 0);
    owner->cancels = YES;
    EXPECT_EQ([runner runBashCommand:@"echo never"], 2);
    EXPECT_EQ(text(owner->output), "");
}

TEST_F(TaskRunnerFaceTest, EndsTheCommandWhenTheDelegateRaisesAndRaisesAgain) {
    owner->raises = @"hasOutputAvailable:";
    NSString* const file =
        [NSTemporaryDirectory() stringByAppendingPathComponent:[[NSProcessInfo processInfo] globallyUniqueString]];
    NSString* const line = [NSString stringWithFormat:@"echo $$ > '%@'; echo output; sleep 100", file];
    NSString* raised = nil;
    @try {
        [runner runBashCommand:line];
    } @catch (NSException* exception) {
        raised = [exception reason];
    }
    EXPECT_EQ(text(raised), "raised in hasOutputAvailable:");
    const int shell = [[NSString stringWithContentsOfFile:file encoding:NSUTF8StringEncoding error:NULL] intValue];
    ASSERT_GT(shell, 0);
    EXPECT_EQ(kill(shell, 0), -1) << "the shell was left behind";
    [[NSFileManager defaultManager] removeItemAtPath:file error:NULL];
    owner->raises = nil;
    EXPECT_EQ([runner runBashCommand:@"echo again"], 0);
    EXPECT_EQ(text(owner->output), "again\n");
}

TEST_F(TaskRunnerFaceTest, RaisesAgainWhatTheCancelQuestionRaised) {
    owner->raises = @"shouldCancel";
    NSString* raised = nil;
    @try {
        [runner runBashCommand:@"echo never"];
    } @catch (NSException* exception) {
        raised = [exception reason];
    }
    EXPECT_EQ(text(raised), "raised in shouldCancel");
    EXPECT_EQ(text(owner->output), "");
    EXPECT_EQ(nameRaisedBy([&] { [runner promptForFiles]; }), "OVTestException");
    EXPECT_FALSE(owner->askedForMultipleSelection) << "who raises cancels";
}

TEST_F(TaskRunnerFaceTest, TheQuestionWhetherToCancelIsTheDelegates) {
    EXPECT_FALSE([runner shellCommandShouldCancel]);
    owner->cancels = YES;
    EXPECT_TRUE([runner shellCommandShouldCancel]);
}

TEST_F(TaskRunnerFaceTest, SecureDeletionIsNoForcedOne) {
    NSString* const folder = [[NSFileManager defaultManager] createTemporaryDirectory];
    NSString* const file = [folder stringByAppendingPathComponent:@"secret"];
    EXPECT_TRUE([@"x" writeToFile:file atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
    const bool isThere = access("/usr/bin/srm", X_OK) == 0;
    EXPECT_EQ([runner secureDeleteItemsAtPaths:[NSArray arrayWithObject:file]] == 0, isThere);
    EXPECT_EQ([[NSFileManager defaultManager] fileExistsAtPath:file] == NO, isThere);
    [[NSFileManager defaultManager] removeItemAtPath:folder error:NULL];
}

// What the scripts that a runner has run say; none of them runs.
NSString* scriptSource = nil;

id noteSource(id self, SEL /*selector*/, NSString* source) {
    [scriptSource release];
    scriptSource = [source copy];
    [self release];
    return nil;
}

TEST_F(TaskRunnerFaceTest, EachOperationHasItsOwnScript) {
    const ReplacedMethod noted([NSAppleScript class], @selector(initWithSource:), reinterpret_cast<IMP>(noteSource));
    EXPECT_EQ([runner restart], 1);
    EXPECT_EQ(text(scriptSource), "tell application \"System Events\" to restart");
    EXPECT_EQ([runner shutdown], 1);
    EXPECT_EQ(text(scriptSource), "tell application \"System Events\" to shut down");
    EXPECT_EQ([runner relaunchFinder], 1);
    EXPECT_EQ(text(scriptSource), "quit application \"Finder\"\ndelay 2\nactivate application \"Finder\"");
    EXPECT_EQ([runner relaunchDock], 1);
    EXPECT_EQ(text(scriptSource), "quit application \"Dock\"");
}

TEST_F(TaskRunnerFaceTest, TheFirstOfTwoExceptionsCounts) {
    orvane::face::HeldException exception;
    EXPECT_FALSE(exception.isHeld());
    EXPECT_EQ(exception.guard(1, [] { return 2; }), 2);
    EXPECT_EQ(nameRaisedBy([&] { exception.raise(); }), "nothing");
    for (NSString *name in [NSArray arrayWithObjects:@"OVFirst", @"OVSecond", nil]) {
        EXPECT_EQ(exception.guard(1,
                                  [&] {
                                      [NSException raise:name format:@"raised"];
                                      return 2;
                                  }),
                  1);
        EXPECT_TRUE(exception.isHeld());
    }
    EXPECT_EQ(nameRaisedBy([&] { exception.raise(); }), "OVFirst");
    EXPECT_FALSE(exception.isHeld());
    EXPECT_EQ(nameRaisedBy([&] { exception.raise(); }), "nothing") << "raised once";
}

TEST_F(TaskRunnerFaceTest, AListWithAnElementThatIsNoStringRaisesAndRunsNothing) {
    NSString* const folder = [[NSFileManager defaultManager] createTemporaryDirectory];
    NSString* const file = [folder stringByAppendingPathComponent:@"kept"];
    EXPECT_TRUE([@"x" writeToFile:file atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
    OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
    for (id odd in [NSArray arrayWithObjects:[NSNumber numberWithInt:1], [NSNull null], [NSArray array], nil]) {
        NSArray* const list = [NSArray arrayWithObjects:file, odd, nil];
        const std::string expected = text(NSInvalidArgumentException);
        EXPECT_EQ(nameRaisedBy([&] { [runner runCommand:@"/bin/rm" arguments:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner runBashCommand:@"rm" onItemsAtPaths:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner pathsByExpandingGlobs:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner secureDeleteItemsAtPaths:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner forceDeleteItemsAtPaths:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner forceDeleteItemsAtGlobs:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner removeCorruptPreferencesInPaths:list]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [command runCommandAtPath:@"/bin/rm" arguments:list delegate:nil]; }), expected);
        int32_t descriptor = -1;
        EXPECT_EQ(nameRaisedBy([&] {
                      [command forkAndExecCommandAtPath:@"/bin/rm" arguments:list outFileDescriptor:&descriptor];
                  }),
                  expected);
        EXPECT_EQ(descriptor, -1);
        owner->chosen = list;
        EXPECT_EQ(nameRaisedBy([&] { [runner forceDeleteFiles]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner secureDeleteFiles]; }), expected);
        EXPECT_EQ(nameRaisedBy([&] { [runner promptForFiles]; }), expected);
        owner->chosen = [NSArray arrayWithObjects:odd, folder, nil];
        EXPECT_EQ(nameRaisedBy([&] { [runner removeDSStoreFilesInFolder]; }), expected);
    }
    EXPECT_EQ([command processID], 0);
    EXPECT_EQ(text(owner->output), "");
    EXPECT_TRUE([[NSFileManager defaultManager] fileExistsAtPath:file]);
    EXPECT_EQ([runner forceDeleteItemsAtPaths:[NSArray arrayWithObject:file]], 0);
    EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:file]);
    [[NSFileManager defaultManager] removeItemAtPath:folder error:NULL];
}

TEST_F(TaskRunnerFaceTest, RetainsBothPropertiesAndDeliberatelyNeverReleasesThem) {
    OVTaskRunner* const leaving = [[OVTaskRunner alloc] init];
    const NSUInteger before = [owner retainCount];
    @autoreleasepool {
        [leaving setDelegate:owner];
        EXPECT_EQ([leaving delegate], owner);
    }
    EXPECT_EQ([owner retainCount], before + 1);
    [leaving release];
    EXPECT_EQ([owner retainCount], before + 1);
    [owner release];
}

TEST_F(TaskRunnerFaceTest, RunsTheCommandOnceForEachPath) {
    NSArray* const paths = [NSArray arrayWithObjects:@"/tmp/one two", @"/tmp/Größe", nil];
    EXPECT_EQ([runner runBashCommand:@"printf <%s>" onItemsAtPaths:paths], 1); // the shell sees a redirection
    EXPECT_EQ([runner runBashCommand:@"echo item" onItemsAtPaths:paths], 0);
    EXPECT_NE(text(owner->output).find("item /tmp/one two\nitem /tmp/Größe\n"), std::string::npos);
}

TEST_F(TaskRunnerFaceTest, AnswersWithMutableListsWhereTheContractDoes) {
    NSMutableArray* const paths =
        [runner pathsByExpandingGlobs:[NSArray arrayWithObjects:@"/bin/sh", @"/no/such/thing*", @"bin/sh", nil]];
    EXPECT_EQ([paths count], 2U);
    EXPECT_EQ(text([paths lastObject]), "/bin/sh");
    [paths addObject:@"mutable"];
    NSMutableArray* const trash = [runner userTrashitems];
    EXPECT_EQ([trash count], 0U);
    [trash addObject:@"mutable"];
}

TEST_F(TaskRunnerFaceTest, AsksTheDelegateForPaths) {
    EXPECT_EQ([runner promptForFiles], nil);
    EXPECT_FALSE(owner->askedForDirectoriesOnly);
    EXPECT_TRUE(owner->askedForMultipleSelection);
    EXPECT_EQ([runner secureDeleteFiles], 2);
    EXPECT_EQ([runner forceDeleteFiles], 2);
    EXPECT_EQ([runner removeDSStoreFilesInFolder], 2);
    EXPECT_TRUE(owner->askedForDirectoriesOnly);
    EXPECT_FALSE(owner->askedForMultipleSelection);
    owner->chosen = [NSArray arrayWithObjects:@"/tmp/Größe", @"/tmp/b", nil];
    EXPECT_EQ(text([runner promptForFolder]), "/tmp/Größe");
    EXPECT_EQ([[runner promptForFiles] count], 2U);
    owner->cancels = YES;
    EXPECT_EQ([runner promptForFiles], nil);
}

TEST_F(TaskRunnerFaceTest, ListsVolumesAsMutableDictionariesWithTheFiveKeys) {
    NSArray* const volumes = [runner mountedBrowsableVolumes];
    for (NSMutableDictionary* volume in volumes) {
        EXPECT_EQ([volume count], 5U);
        EXPECT_TRUE([[volume objectForKey:OVVolumePath] isKindOfClass:[NSString class]]);
        for (NSString *key in
             [NSArray arrayWithObjects:OVVolumeOwner, OVVolumeIsLocal, OVVolumeTotalSpace, OVVolumeFreeSpace, nil]) {
            EXPECT_TRUE([[volume objectForKey:key] isKindOfClass:[NSNumber class]]) << text(key);
        }
        [volume setObject:@"mutable" forKey:@"another"];
    }
}

TEST_F(TaskRunnerFaceTest, AVolumesDictionaryHasEachValueUnderItsKey) {
    for (const bool isLocal : {true, false}) {
        NSMutableDictionary* const volume = orvane::face::dictionaryOf({"/Größe", 501, isLocal, 1ULL << 63U, 40});
        EXPECT_EQ([volume count], 5U);
        EXPECT_EQ(text([volume objectForKey:OVVolumePath]), "/Größe");
        EXPECT_EQ([[volume objectForKey:OVVolumeOwner] unsignedLongLongValue], 501U);
        EXPECT_EQ([volume objectForKey:OVVolumeIsLocal], [NSNumber numberWithBool:(isLocal ? YES : NO)]);
        EXPECT_EQ([[volume objectForKey:OVVolumeTotalSpace] unsignedLongLongValue], 1ULL << 63U);
        EXPECT_EQ([[volume objectForKey:OVVolumeFreeSpace] unsignedLongLongValue], 40U);
        [volume setObject:@"mutable" forKey:@"another"];
    }
}

TEST_F(TaskRunnerFaceTest, ListsAreOfStringsAndOfApplications) {
    owner->chosen = [NSArray arrayWithObject:@"/bin"];
    for (NSArray *list in
         [NSArray arrayWithObjects:[runner screenshotFormats], [runner promptForFiles],
                                   [runner pathsByExpandingGlobs:[NSArray arrayWithObject:@"/bin/s*"]], nil]) {
        EXPECT_GT([list count], 0U);
        for (id element in list) {
            EXPECT_TRUE([element isKindOfClass:[NSString class]]);
        }
    }
    for (id element in [runner runningForegroundApplications]) {
        EXPECT_TRUE([element isKindOfClass:[NSRunningApplication class]]);
    }
}

TEST_F(TaskRunnerFaceTest, BuildsTheSecureErasureLine) {
    EXPECT_EQ(text([runner secureEraseFreeSpaceCommand:@"/Volumes/A B"]),
              "(trap '/bin/rm -fv \"/Volumes/A B/secure-erase.temp\"' INT TERM EXIT; /bin/dd if=/dev/zero "
              "of=\"/Volumes/A B/secure-erase.temp\" bs=1k; /usr/bin/srm -vfmr -- \"/Volumes/A "
              "B/secure-erase.temp\")");
}

TEST_F(TaskRunnerFaceTest, KnowsTheHomeOfTheRealUser) {
    EXPECT_TRUE([[runner homeDirectory] hasPrefix:@"/"]);
    EXPECT_EQ(text([runner userLibraryFolder]),
              text([[runner homeDirectory] stringByAppendingPathComponent:@"Library"]));
}

TEST_F(TaskRunnerFaceTest, AuthorizedTasksAndClipboardTasksWithoutAServer) {
    EXPECT_EQ([runner runAuthorizedTask:nil], 1);
    EXPECT_EQ([runner runAuthorizedTask:@"anything"], 1);
    EXPECT_EQ([runner clearPasteboardHistory], 0);
}

TEST_F(TaskRunnerFaceTest, OffersTheScreenshotFormatsInTheirOrder) {
    EXPECT_EQ(text([[runner screenshotFormats] componentsJoinedByString:@" "]), "JPG PNG PDF TIFF");
}

TEST_F(TaskRunnerFaceTest, StoresAndReadsPropertyListObjectsOfOtherPrograms) {
    NSString* const domain = @"com.example.orvane.face-test";
    NSDictionary* const nested = [NSDictionary dictionaryWithObject:[NSArray arrayWithObject:@"Größe"] forKey:@"list"];
    [runner setObject:nested forKey:@"nested" defaults:domain];
    [runner setObject:[NSNumber numberWithBool:YES] forKey:@"switch" defaults:domain];
    EXPECT_TRUE([[runner objectForKey:@"nested" defaults:domain] isEqual:nested]);
    EXPECT_TRUE([[runner objectForKey:@"switch" defaults:domain] boolValue]);
    EXPECT_EQ([runner objectForKey:@"absent" defaults:domain], nil);
    EXPECT_EQ([runner objectForKey:@"switch" defaults:@"com.example.no-such-domain"], nil);
    [runner setObject:owner forKey:@"switch" defaults:domain]; // nothing that a property list holds
    EXPECT_TRUE([[runner objectForKey:@"switch" defaults:domain] boolValue]);
}

TEST_F(TaskRunnerFaceTest, AnObjectOfAHostsOwnDoesNotChangeOnTheWay) {
    NSString* const domain = @"com.apple.screencapture";
    id const odd = [NSString stringWithFormat:@"a%C", static_cast<unichar>(0xD800)]; // half a pair
    NSNumber* const real = [NSNumber numberWithFloat:0.1F];
    NSDictionary* const before =
        [NSDictionary dictionaryWithObjectsAndKeys:odd, @"type", real, odd, [NSNull null], @"unknown to the core", nil];
    ASSERT_EQ([before count], 3U);
    theirDomain = before;
    const ReplacedMethod reading([NSUserDefaults class], @selector(persistentDomainForName:),
                                 reinterpret_cast<IMP>(readDomain));
    const ReplacedMethod writing([NSUserDefaults class], @selector(setPersistentDomain:forName:),
                                 reinterpret_cast<IMP>(keepDomain));
    EXPECT_EQ([runner screenshotFormat], odd);
    EXPECT_EQ([runner objectForKey:odd defaults:domain], real);
    EXPECT_EQ([runner objectForKey:@"unknown to the core" defaults:domain], [NSNull null]);
    [runner setObject:real forKey:@"new" defaults:domain];
    EXPECT_EQ([writtenDomain objectForKey:@"new"], real);
    EXPECT_TRUE([runner screenshotHasShadow]);
    EXPECT_EQ([runner toggleScreenshotShadow], 1); // nobody to relaunch; what was set is set all the same
    EXPECT_TRUE([[writtenDomain objectForKey:@"disable-shadow"] boolValue]);
    EXPECT_EQ([writtenDomain count], 4U);
    for (id key in before) {
        EXPECT_EQ([writtenDomain objectForKey:key], [before objectForKey:key]);
    }
    [writtenDomain release];
    writtenDomain = nil;
}

TEST_F(TaskRunnerFaceTest, A32BitRealOfAHostsOwnIsStoredAsOne) {
    NSString* const domain = @"com.example.orvane.face-test-real";
    [runner setObject:[NSNumber numberWithFloat:0.1F] forKey:@"real" defaults:domain];
    EXPECT_EQ([[runner objectForKey:@"real" defaults:domain] doubleValue], 0.1) << "as 64 bits it has more digits";
}

TEST_F(TaskRunnerFaceTest, SettingsAreReadAndToggledThroughTheUsersDefaults) {
    EXPECT_TRUE([runner isDashboardOn]);
    // Without the Dock to quit the status is a failure; what was set is set all the same.
    EXPECT_EQ([runner toggleDashboard], 1);
    EXPECT_FALSE([runner isDashboardOn]);
    EXPECT_TRUE([[runner objectForKey:@"mcx-disabled" defaults:@"com.apple.dashboard"] boolValue]);
    EXPECT_EQ([runner screenshotFormat], nil);
    static_cast<void>([runner setScreenshotFormat:@"PNG"]);
    EXPECT_EQ(text([runner screenshotFormat]), "png");
    static_cast<void>([runner setScreenshotFormat:@"TÏFF"]);
    EXPECT_EQ(text([runner screenshotFormat]), "tïff") << "as lowercaseString has it";
}

TEST_F(TaskRunnerFaceTest, AnAppleScriptThatCannotRunIsAFailure) {
    EXPECT_EQ([runner runAppleScript:@"this is no script at all ("], 1);
}

TEST_F(TaskRunnerFaceTest, AFindersSearchWithoutAFinderIsToldToTheDelegate) {
    owner->size = 5;
    EXPECT_EQ([runner findLargeFilesInPath:@"/tmp"], 1);
    EXPECT_EQ(text(owner->output).substr(0, 6), "ERROR ");
}

TEST_F(TaskRunnerFaceTest, TheSizeOfLargeFilesHasSixtyFourBits) {
    NSString* const folder = [[NSFileManager defaultManager] createTemporaryDirectory];
    NSString* const form = [folder stringByAppendingPathComponent:@"form"];
    EXPECT_TRUE([@"__SIZE_IN_MEGABYTES__" writeToFile:form atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
    owner->size = 5000000000;
    {
        const Answering bundle([NSBundle class], @selector(pathForResource:ofType:), form);
        EXPECT_EQ([runner findLargeFilesInPath:folder], 1) << "there is no Finder";
    }
    EXPECT_NE(text(owner->output).find("Files Larger than 5000000000 MB in "), std::string::npos)
        << text(owner->output);
    NSString* const name = [NSString stringWithFormat:@"Files Larger than 5000000000 MB in %@.savedSearch",
                                                      [[NSFileManager defaultManager] displayNameAtPath:folder]];
    [[NSFileManager defaultManager] removeItemAtPath:[NSTemporaryDirectory() stringByAppendingPathComponent:name]
                                               error:NULL];
    [[NSFileManager defaultManager] removeItemAtPath:folder error:NULL];
}

TEST_F(TaskRunnerFaceTest, NoPathIsNoEmptyOne) {
    EXPECT_EQ(orvane::face::ifAny(static_cast<NSString*>(nil), orvane::face::pathOf), std::nullopt);
    EXPECT_EQ(orvane::face::ifAny(@"", orvane::face::pathOf), "");
}

TEST_F(TaskRunnerFaceTest, AnArchiveThatTheDelegateDoesNotHaveCancels) {
    EXPECT_EQ([runner cleanDesktop], 2);
}

TEST(FaceConstantsTest, AreTheCores) {
    EXPECT_EQ(text(::OVVolumePath), orvane::OVVolumePath);
    EXPECT_EQ(text(::OVVolumeOwner), orvane::OVVolumeOwner);
    EXPECT_EQ(text(::OVVolumeIsLocal), orvane::OVVolumeIsLocal);
    EXPECT_EQ(text(::OVVolumeTotalSpace), orvane::OVVolumeTotalSpace);
    EXPECT_EQ(text(::OVVolumeFreeSpace), orvane::OVVolumeFreeSpace);
    EXPECT_EQ(text(::kOVBrowserSafari), orvane::kOVBrowserSafari);
    EXPECT_EQ(text(::kOVBrowserFirefox), orvane::kOVBrowserFirefox);
    EXPECT_EQ(text(::kOVBrowserChrome), orvane::kOVBrowserChrome);
    EXPECT_EQ(text(::kOVBrowsersAll), orvane::kOVBrowsersAll);
    EXPECT_EQ(text(::kOVSecureEraseFreeSpaceTempFilename), orvane::kOVSecureEraseFreeSpaceTempFilename);
    EXPECT_EQ(::OVShellCommandSuccess, orvane::OVShellCommandSuccess);
    EXPECT_EQ(::OVShellCommandCancelled, orvane::OVShellCommandCancelled);
    EXPECT_EQ(::OVShellCommandCancelFailed, orvane::OVShellCommandCancelFailed);
}

} // namespace

} // namespace facetest
