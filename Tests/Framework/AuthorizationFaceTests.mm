#import "Tests/Framework/FaceTest.h"

#include <unistd.h>

// Where the framework would not ask its user.

namespace facetest {

namespace {

using AuthorizationFaceTest = FaceTest;

TEST_F(AuthorizationFaceTest, KeepsTheToolPathThroughAFileOperation) {
    OVAuthorization* const authorization = [[[OVAuthorization alloc] initWithToolPath:@"/bin/true"] autorelease];
    EXPECT_EQ(text([authorization toolPath]), "/bin/true");
    NSString* const path = [NSMutableString stringWithString:@"/bin/Größe"];
    [authorization setToolPath:path];
    EXPECT_EQ([authorization toolPath], path) << "the object itself";
    [authorization setToolPath:[authorization toolPath]];
    EXPECT_EQ([authorization toolPath], path);
    [authorization setToolPath:@"/bin/true"];
    const int32_t expected = geteuid() == 0 ? 0 : -60007;
    NSString* const folder = [[NSFileManager defaultManager] createTemporaryDirectory];
    NSString* const made = [folder stringByAppendingPathComponent:@"a/b c"];
    EXPECT_EQ([authorization createDirectoryAtPath:made], expected);
    EXPECT_EQ(access([made fileSystemRepresentation], F_OK) == 0, geteuid() == 0);
    EXPECT_EQ(text([authorization toolPath]), "/bin/true");
    NSString* const source = [folder stringByAppendingPathComponent:@"source"];
    NSString* const copy = [folder stringByAppendingPathComponent:@"copy"];
    EXPECT_TRUE([@"x" writeToFile:source atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
    EXPECT_EQ([authorization copyWithPriviliges:source to:copy], expected);
    EXPECT_EQ(access([copy fileSystemRepresentation], F_OK) == 0, geteuid() == 0);
    EXPECT_EQ([authorization removeWithPriviliges:folder], expected);
    EXPECT_EQ([authorization deauthenticate], 0);
    [authorization setToolPath:nil];
    EXPECT_EQ([authorization toolPath], nil);
}

TEST_F(AuthorizationFaceTest, AnotherToolPathIsTheOneThatIsRun) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "nothing is run for anybody but root";
    }
    NSString* const file =
        [NSTemporaryDirectory() stringByAppendingPathComponent:[[NSProcessInfo processInfo] globallyUniqueString]];
    std::string line = "echo run > '" + text(file) + "'";
    char option[] = "-c";
    char* const arguments[] = {option, line.data(), nullptr};
    OVAuthorization* const authorization = [[[OVAuthorization alloc] initWithToolPath:@"/bin/false"] autorelease];
    EXPECT_EQ([authorization runWithPriviliges:arguments], 0);
    EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:file]);
    [authorization setToolPath:@"/bin/sh"];
    EXPECT_EQ(text([authorization toolPath]), "/bin/sh");
    EXPECT_EQ([authorization runWithPriviliges:arguments], 0);
    EXPECT_TRUE([[NSFileManager defaultManager] removeItemAtPath:file error:NULL]);
    [authorization setToolPath:nil];
    EXPECT_NE([authorization runWithPriviliges:arguments], 0) << "a path is refused that is not there";
    EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:file]);
}

TEST_F(AuthorizationFaceTest, ANilPathIsRefused) {
    OVAuthorization* const authorization = [[[OVAuthorization alloc] initWithToolPath:@"/bin/true"] autorelease];
    NSString* none = nil;
    char* const arguments[] = {nullptr};
    EXPECT_NE([OVAuthorization runToolWithPriviliges:none arguments:arguments], 0);
    EXPECT_EQ([authorization deauthenticate], 0);
}

TEST_F(AuthorizationFaceTest, RunsAToolOnceWithItsArguments) {
    NSString* const file =
        [NSTemporaryDirectory() stringByAppendingPathComponent:[[NSProcessInfo processInfo] globallyUniqueString]];
    std::string line = "echo run > '" + text(file) + "'; exit 5";
    char option[] = "-c";
    char* const arguments[] = {option, line.data(), nullptr};
    EXPECT_EQ([OVAuthorization runToolWithPriviliges:@"/bin/sh" arguments:arguments], geteuid() == 0 ? 0 : -60007);
    EXPECT_EQ([[NSFileManager defaultManager] removeItemAtPath:file error:NULL] != NO, geteuid() == 0);
}

} // namespace

} // namespace facetest
