#import "Tests/Cocoa/ReplacedMethod.h"
#import "Tests/Framework/FaceTest.h"

#include "Support/OVLog.h"
#include "Support/ZRBytesValueTransformer.h"

#include <csignal>
#include <cstdlib>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

/// A delegate of a shell command, as small as they come.
@interface OVTestShellDelegate : NSObject <OVShellCommandDelegate> {
  @public
    NSMutableString* output;
    BOOL cancels;
    NSString* raises; ///< in which of the two methods
}
@end

@implementation OVTestShellDelegate

- (void)dealloc {
    [output release];
    [super dealloc];
}

- (void)shellCommandHasOutputAvailable:(NSString*)chunk {
    if (output == nil) {
        output = [[NSMutableString alloc] init];
    }
    [output appendString:(chunk != nil ? chunk : @"(nil)")];
    if ([raises isEqual:@"output"]) {
        [NSException raise:@"OVTestException" format:@"%@", output];
    }
}

- (BOOL)shellCommandShouldCancel {
    if ([raises isEqual:@"question"]) {
        [NSException raise:@"OVTestException" format:@"question"];
    }
    return cancels;
}

@end

/// Answers the two questions of a byte count, and is no number.
@interface OVTestCount : NSObject
@end

@implementation OVTestCount

- (NSUInteger)unsignedIntegerValue {
    return 1500000;
}

- (float)floatValue {
    return 1500000;
}

@end

/// Answers the first alone.
@interface OVTestWholeCount : NSObject
@end

@implementation OVTestWholeCount

- (NSUInteger)unsignedIntegerValue {
    return 1500000;
}

@end

namespace facetest {

namespace {

using ShellCommandFaceTest = FaceTest;
using FormatterFaceTest = FaceTest;
using FileManagerFaceTest = FaceTest;

TEST_F(ShellCommandFaceTest, RunsAProgramAndReturnsItsExitCode) {
    OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
    OVTestShellDelegate* const delegate = [[[OVTestShellDelegate alloc] init] autorelease];
    EXPECT_EQ([command processID], 0);
    const NSUInteger count = [delegate retainCount];
    EXPECT_EQ([command runCommandAtPath:@"/bin/sh"
                              arguments:([NSArray arrayWithObjects:@"-c", @"echo \"$0\"; exit 3", @"Größe",
                                                                   nil])delegate:delegate],
              3);
    EXPECT_EQ([delegate retainCount], count);
    EXPECT_EQ(text(delegate->output), "Größe\n");
    EXPECT_GT([command processID], 0);
}

TEST_F(ShellCommandFaceTest, CancelsBeforeTheStart) {
    OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
    OVTestShellDelegate* const delegate = [[[OVTestShellDelegate alloc] init] autorelease];
    delegate->cancels = YES;
    EXPECT_EQ([command runCommandAtPath:@"/usr/bin/true" arguments:nil delegate:delegate], OVShellCommandCancelled);
    EXPECT_EQ([command processID], 0);
}

TEST_F(ShellCommandFaceTest, ADelegateThatRaisesCancelsTheCommandAndItsExceptionComesBehindIt) {
    OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
    OVTestShellDelegate* const delegate = [[[OVTestShellDelegate alloc] init] autorelease];
    delegate->raises = @"output";
    NSDate* const start = [NSDate date];
    NSString* reason = nil;
    @try {
        [command runCommandAtPath:@"/bin/sh"
                        arguments:([NSArray arrayWithObjects:@"-c", @"echo first; sleep 100", nil])delegate:delegate];
    } @catch (NSException* exception) {
        reason = [exception reason];
    }
    EXPECT_EQ(text(reason), "first\n");
    EXPECT_LT(-[start timeIntervalSinceNow], 50);
    EXPECT_GT([command processID], 0);
    EXPECT_EQ(kill([command processID], 0), -1) << "the child was left behind";

    OVShellCommand* const another = [[[OVShellCommand alloc] init] autorelease];
    delegate->raises = @"question";
    EXPECT_EQ(nameRaisedBy([&] { [another runCommandAtPath:@"/usr/bin/true" arguments:nil delegate:delegate]; }),
              "OVTestException");
    EXPECT_EQ([another processID], 0) << "cancelled before the start";
}

TEST_F(ShellCommandFaceTest, StartsAProgramAndHandsOutItsOutput) {
    OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
    int32_t descriptor = -1;
    const int32_t child = [command forkAndExecCommandAtPath:@"/bin/echo"
                                                  arguments:[NSArray arrayWithObject:@"text"]
                                          outFileDescriptor:&descriptor];
    ASSERT_GT(child, 0);
    char buffer[16] = {};
    EXPECT_EQ(read(descriptor, buffer, sizeof buffer), 5);
    EXPECT_STREQ(buffer, "text\n");
    close(descriptor);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
}

TEST_F(FormatterFaceTest, IsRegisteredUnderItsName) {
    NSValueTransformer* const transformer = [NSValueTransformer valueTransformerForName:@"ZRBytesValueTransformer"];
    ASSERT_TRUE([transformer isKindOfClass:[ZRBytesValueTransformer class]]);
    EXPECT_EQ([ZRBytesValueTransformer transformedValueClass], [NSString class]);
    EXPECT_FALSE([ZRBytesValueTransformer allowsReverseTransformation]);
}

TEST_F(FormatterFaceTest, FormatsNumbersAndWhatAnswersLikeThem) {
    ZRBytesValueTransformer* const transformer = [[[ZRBytesValueTransformer alloc] init] autorelease];
    EXPECT_EQ([transformer mode], 0);
    [transformer setMode:2];
    EXPECT_EQ([transformer kilobyteSize], 1000U);
    EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:1]]), "1 byte");
    EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:999]]), "999 bytes");
    EXPECT_EQ(text([transformer transformedValue:[[[OVTestCount alloc] init] autorelease]]), "1.5 MB");
    EXPECT_EQ([transformer transformedValue:nil], nil);
    EXPECT_EQ([transformer transformedValue:@"a text"], nil);
    EXPECT_EQ([transformer transformedValue:[[[OVTestWholeCount alloc] init] autorelease]], nil);
    [transformer setMode:1];
    EXPECT_EQ([transformer kilobyteSize], 1024U);
    EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:1048576]]), "1.0 MB");
}

TEST_F(FormatterFaceTest, ShowsThatASizeIsBeingCalculated) {
    EXPECT_EQ(::ZRBytesValueTransformerCalculatingSize, orvane::ZRBytesValueTransformerCalculatingSize);
    NSNumber* const unknown = [NSNumber numberWithUnsignedInteger:ZRBytesValueTransformerCalculatingSize];
    ZRBytesValueTransformer* const transformer = [[[ZRBytesValueTransformer alloc] init] autorelease];
    EXPECT_EQ(text([transformer transformedValue:unknown]), "Calculating size...");
    EXPECT_EQ(text([ZRBytesValueTransformer formatBytes:~uint64_t{0}]), "Calculating size...");
    EXPECT_EQ(text([ZRBytesValueTransformer formatBytes:1000]), "1.0 KB");
}

TEST_F(FormatterFaceTest, NumbersHaveTheDigitsOfTheUsersLocale) {
    ZRBytesValueTransformer* const transformer = [[[ZRBytesValueTransformer alloc] init] autorelease];
    [transformer setMode:2];
    EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:23400000]]), "23.4 MB");
    {
        const Answering egypt(object_getClass([NSLocale class]), @selector(currentLocale),
                              [[[NSLocale alloc] initWithLocaleIdentifier:@"ar_EG"] autorelease]);
        EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:23400000]]),
                  "\u0662\u0663\u066B\u0664 MB");
        EXPECT_EQ(text([transformer transformedValue:[NSNumber numberWithInt:590]]), "\u0665\u0669\u0660 bytes");
        EXPECT_EQ(text([ZRBytesValueTransformer formatBytes:1]), "\u0661 byte");
    }
    EXPECT_EQ(text([ZRBytesValueTransformer formatBytes:1]), "1 byte") << "with every change of the locale";
}

TEST_F(FileManagerFaceTest, MatchesPatternsAndMakesTemporaryFolders) {
    NSFileManager* const manager = [NSFileManager defaultManager];
    NSString* const folder = [manager createTemporaryDirectory];
    ASSERT_NE(folder, nil);
    EXPECT_NE(text(folder), text([manager createTemporaryDirectory]));
    [@"x" writeToFile:[folder stringByAppendingPathComponent:@"Größe.txt"]
           atomically:NO
             encoding:NSUTF8StringEncoding
                error:NULL];
    NSArray* const found = [manager arrayWithFilesMatchingPattern:@"*.txt" inDirectory:folder];
    ASSERT_EQ([found count], 1U);
    EXPECT_EQ(text([[found lastObject] lastPathComponent]), "Größe.txt");
    NSArray* const nothing = [manager arrayWithFilesMatchingPattern:@"*.none" inDirectory:folder];
    ASSERT_NE(nothing, nil);
    EXPECT_EQ([nothing count], 0U);
    EXPECT_FALSE([nothing respondsToSelector:@selector(addObject:)] && [nothing isKindOfClass:[NSMutableArray class]]);
    [manager removeItemAtPath:folder error:NULL];
}

TEST_F(FileManagerFaceTest, InstallsAndSurrendersTheSetuidState) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may change a file's owner to root";
    }
    NSFileManager* const manager = [NSFileManager defaultManager];
    NSString* const folder = [manager createTemporaryDirectory];
    NSString* const file = [folder stringByAppendingPathComponent:@"tool"];
    [@"x" writeToFile:file atomically:NO encoding:NSUTF8StringEncoding error:NULL];
    EXPECT_FALSE([manager isSetUIDRoot:file]);
    EXPECT_EQ([manager setSUIDRoot:file], 0);
    EXPECT_TRUE([manager isSetUIDRoot:file]);
    EXPECT_EQ([manager surrenderSUIDRoot:file], 0);
    EXPECT_FALSE([manager isSetUIDRoot:file]);
    EXPECT_EQ([manager setSUIDRoot:[folder stringByAppendingPathComponent:@"none"]], ENOENT);
    EXPECT_FALSE([manager isSetUIDRoot:nil]);
    EXPECT_FALSE([manager isIgnoringSetUIDAtPath:nil]);
    [manager removeItemAtPath:folder error:NULL];
}

TEST_F(FileManagerFaceTest, KnowsWhichVolumesIgnoreTheBit) {
    for (NSString *path in [NSArray arrayWithObjects:@"/", @"/tmp", @"/proc", @"/dev/shm", nil]) {
        if (![[NSFileManager defaultManager] fileExistsAtPath:path]) {
            continue; // the last two not on a Mac
        }
        struct statvfs volume = {};
        ASSERT_EQ(statvfs([path fileSystemRepresentation], &volume), 0);
        EXPECT_EQ([[NSFileManager defaultManager] isIgnoringSetUIDAtPath:path] != NO, (volume.f_flag & ST_NOSUID) != 0)
            << text(path);
    }
}

TEST_F(FileManagerFaceTest, ANilPathStopsTheProcess) {
    NSString* none = nil;
    EXPECT_DEATH([[NSFileManager defaultManager] setSUIDRoot:none], "aPath != NULL");
    EXPECT_DEATH([[NSFileManager defaultManager] surrenderSUIDRoot:none], "aPath != NULL");
}

TEST(FrameworkLogTest, TheCoresMessagesTakeTheApplicationsWay) {
    // The application's way has its name and number in front; in a process of its own, whose error output is read here.
    EXPECT_EXIT(
        {
            @autoreleasepool {
                orvane::OVLog("a message of %s", "the core's");
                orvane::OVLog("%s", "\xFF is no text");
            }
            std::exit(0);
        },
        testing::ExitedWithCode(0), "face_tests\\[.*a message of the core's\n.*face_tests\\[.*is no text");
}

TEST_F(FormatterFaceTest, TheSystemsVersionIsTheCores) {
    int32_t major = -1;
    int32_t minor = -1;
    int32_t bugFix = -1;
    GetSystemVersion(&major, nullptr, &bugFix);
    GetSystemVersion(nullptr, &minor, nullptr);
    EXPECT_EQ(text(SystemVersionString()),
              std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(bugFix));
    EXPECT_EQ(SystemIsSnowLeopardOrLater() != NO, major == 10 && minor > 5);
}

TEST_F(FormatterFaceTest, FreeMemoryIsCounted) {
    EXPECT_GT([OVMemoryStatistics freeMemoryCount], 0);
}

} // namespace

} // namespace facetest
