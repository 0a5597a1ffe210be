#import "Tests/Cocoa/ReplacedMethod.h"
#import "Tests/Framework/FaceTest.h"

#import "Backends/Cocoa/GNUstepCompatibility.h"

// What the runner does with other programs and their defaults.

namespace facetest {

namespace {

using DesktopFaceTest = TaskRunnerFaceTest;

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

// What the scripts that a runner has run say; none of them runs.
NSString* scriptSource = nil;

id noteSource(id self, SEL /*selector*/, NSString* source) {
    [scriptSource release];
    scriptSource = [source copy];
    [self release];
    return nil;
}

TEST_F(DesktopFaceTest, EachOperationHasItsOwnScript) {
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

TEST_F(DesktopFaceTest, StoresAndReadsPropertyListObjectsOfOtherPrograms) {
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

TEST_F(DesktopFaceTest, AnObjectOfAHostsOwnDoesNotChangeOnTheWay) {
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

TEST_F(DesktopFaceTest, A32BitRealOfAHostsOwnIsStoredAsOne) {
    NSString* const domain = @"com.example.orvane.face-test-real";
    [runner setObject:[NSNumber numberWithFloat:0.1F] forKey:@"real" defaults:domain];
    EXPECT_EQ([[runner objectForKey:@"real" defaults:domain] doubleValue], 0.1) << "as 64 bits it has more digits";
}

TEST_F(DesktopFaceTest, SettingsAreReadAndToggledThroughTheUsersDefaults) {
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

TEST_F(DesktopFaceTest, AnAppleScriptThatCannotRunIsAFailure) {
    EXPECT_EQ([runner runAppleScript:@"this is no script at all ("], 1);
}

TEST_F(DesktopFaceTest, AFindersSearchWithoutAFinderIsToldToTheDelegate) {
    owner->size = 5;
    EXPECT_EQ([runner findLargeFilesInPath:@"/tmp"], 1);
    EXPECT_EQ(text(owner->output).substr(0, 6), "ERROR ");
}

TEST_F(DesktopFaceTest, TheSizeOfLargeFilesHasSixtyFourBits) {
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

} // namespace

} // namespace facetest
