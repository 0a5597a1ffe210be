#import "Tests/Framework/FaceTest.h"

#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"

#include "Tasks/OVTaskRunner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace facetest {

namespace {

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
    EXPECT_EQ([runner runCommand:@"/usr/bin/true" arguments:nil], 0);
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
