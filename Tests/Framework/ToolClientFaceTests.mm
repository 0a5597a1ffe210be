#import "Tests/Framework/FaceTest.h"

#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>

/// Notes what the tool says, and cancels when told.
@interface OVTestHost : NSObject <OVToolClientDelegate> {
  @public
    NSMutableData* output;
    NSString* raises; ///< the method in which it raises
    BOOL cancelsAtOutput;
    int questions;
}
@end

@implementation OVTestHost

- (id)init {
    if ((self = [super init]) != nil) {
        output = [[NSMutableData alloc] init];
    }
    return self;
}

- (void)dealloc {
    [output release];
    [super dealloc];
}

- (void)toolHasOutputAvailable:(NSData*)bytes {
    [output appendData:bytes];
    if ([raises isEqualToString:@"toolHasOutputAvailable:"]) {
        [NSException raise:@"OVTestException" format:@"raised"];
    }
}

- (BOOL)toolShouldCancel {
    ++questions;
    if ([raises isEqualToString:@"toolShouldCancel"]) {
        [NSException raise:@"OVTestException" format:@"raised"];
    }
    return cancelsAtOutput && [output length] > 0;
}

@end

/// Wants to know what runs, too.
@interface OVTestWatcher : OVTestHost {
  @public
    NSMutableSet* programs;
}
@end

@implementation OVTestWatcher

- (void)dealloc {
    [programs release];
    [super dealloc];
}

- (void)toolIsRunning:(NSString*)program {
    if (programs == nil) {
        programs = [[NSMutableSet alloc] init];
    }
    [programs addObject:program];
    if ([raises isEqualToString:@"toolIsRunning:"]) {
        [NSException raise:@"OVTestException" format:@"raised"];
    }
}

@end

namespace facetest {

namespace {

/// The tool is a script in a folder with a name that takes care.
class ToolClientFaceTest : public FaceTest {
  protected:
    ToolClientFaceTest()
        : folder([[[NSFileManager defaultManager] createTemporaryDirectory] retain]),
          path([[folder stringByAppendingPathComponent:@"Größe des Tools"] retain]), host([[OVTestWatcher alloc] init]),
          client([[OVToolClient alloc] initWithPath:path]) {}
    ~ToolClientFaceTest() override {
        [client release];
        [host release];
        [[NSFileManager defaultManager] removeItemAtPath:folder error:NULL];
        [path release];
        [folder release];
    }

    void makeTool(NSString* line) {
        NSString* const script = [@"#!/bin/sh\n" stringByAppendingString:line];
        EXPECT_TRUE([script writeToFile:path atomically:NO encoding:NSUTF8StringEncoding error:NULL]);
        EXPECT_EQ(chmod([path fileSystemRepresentation], 0755), 0);
    }

    [[nodiscard]] std::string output() const {
        return {static_cast<const char*>([host->output bytes]), [host->output length]};
    }

    NSString* folder;
    NSString* path;
    OVTestWatcher* host;
    OVToolClient* client;
};

TEST_F(ToolClientFaceTest, KnowsItsPathAndTheCommandsThatSetItUp) {
    EXPECT_EQ(text([client path]), text(path));
    EXPECT_EQ(text([client setUpCommand]), "sudo '" + text(path) + "' repairPriviliges");
    EXPECT_EQ(text([client surrenderCommand]), "sudo '" + text(path) + "' surrenderPriviliges");
    NSArray* const places = [OVToolClient places];
    ASSERT_EQ([places count], 3U);
    EXPECT_EQ(text([places objectAtIndex:1]), "/Library/PrivilegedHelperTools/OrvaneTool");
    OVToolClient* const found = [[[OVToolClient alloc] init] autorelease];
    EXPECT_TRUE([places containsObject:[found path]]);
}

TEST_F(ToolClientFaceTest, TellsItsState) {
    EXPECT_EQ([client state], OVToolStateMissing);
    makeTool(@"exit 0");
    EXPECT_EQ([client state], OVToolStateNotSetUp);
    EXPECT_EQ([client stateComparedWithPath:@"/bin/sh"], OVToolStateNotSetUp);
    if (geteuid() != 0) {
        GTEST_SKIP() << "the rest is root's";
    }
    ASSERT_EQ(chmod([path fileSystemRepresentation], 04555), 0);
    const OVToolState ready = [[NSFileManager defaultManager] isIgnoringSetUIDAtPath:path] != NO
                                  ? OVToolStateIgnoredSetUID
                                  : OVToolStateReady;
    EXPECT_EQ([client state], ready);
    EXPECT_EQ([client stateComparedWithPath:path], ready);
    EXPECT_EQ([client stateComparedWithPath:@"/bin/sh"], ready == OVToolStateReady ? OVToolStateOlder : ready);
}

TEST_F(ToolClientFaceTest, IsSetUpByAnAuthorization) {
    makeTool(@"echo \"$1\" >> \"$0.log\"");
    const int32_t expected = geteuid() == 0 ? 0 : -60007;
    EXPECT_EQ([client setUp], expected);
    EXPECT_EQ([client surrender], expected);
    NSString* const log = [NSString stringWithContentsOfFile:[path stringByAppendingString:@".log"]
                                                    encoding:NSUTF8StringEncoding
                                                       error:NULL];
    EXPECT_EQ(text(log), geteuid() == 0 ? "repairPriviliges\nsurrenderPriviliges\n" : "(nil)");
}

TEST_F(ToolClientFaceTest, RunsATaskAndGivesItsBytesAndItsEnd) {
    makeTool(@"printf '%s|%s\\377' \"$1\" \"$2\"; exit 3");
    OVToolResult* const result = [client runTask:@"größer" argument:@"a b" delegate:host];
    EXPECT_EQ(output(), "größer|a b\377");
    EXPECT_EQ([result status], 3);
    EXPECT_EQ([result waitStatus], 3 << 8);
    EXPECT_EQ([result error], 0);
    EXPECT_FALSE([result cancelled]);
    EXPECT_EQ([[result leftRunning] count], 0U);
    EXPECT_EQ([[result leftRunningNames] count], 0U);
    EXPECT_GT([result duration], 0);
    EXPECT_LT([result duration], 5);
    EXPECT_EQ([[client runTask:@"task" argument:nil delegate:nil] status], 3);
}

TEST_F(ToolClientFaceTest, SaysWhatRuns) {
    makeTool(@"sleep 0.4");
    [client runTask:@"task" argument:nil delegate:host];
    EXPECT_TRUE([host->programs containsObject:@"sleep"]);
    OVTestHost* const plain = [[[OVTestHost alloc] init] autorelease];
    EXPECT_EQ([[client runTask:@"task" argument:nil delegate:plain] status], 0) << "it need not want to know";
}

TEST_F(ToolClientFaceTest, CancelsAndNamesWhatIsLeft) {
    makeTool(@"echo; sleep 60");
    host->cancelsAtOutput = YES;
    OVToolResult* const ended = [client runTask:@"task" argument:nil delegate:host];
    EXPECT_TRUE([ended cancelled]);
    EXPECT_EQ([ended status], 128 + SIGINT);
    makeTool(@"trap '' INT; echo; exec sleep 60");
    [host->output setLength:0];
    OVToolResult* const left = [client runTask:@"task" argument:nil delegate:host patience:0.25];
    EXPECT_EQ([left status], -1);
    EXPECT_EQ([left error], ETIMEDOUT);
    EXPECT_LT([left duration], 1.5);
    EXPECT_EQ(text([[left leftRunningNames] componentsJoinedByString:@" "]), "sleep");
    ASSERT_EQ([[left leftRunning] count], 1U);
    kill([[[left leftRunning] objectAtIndex:0] intValue], SIGKILL);
}

TEST_F(ToolClientFaceTest, EndsTheTaskWhenTheDelegateRaisesAndRaisesAgain) {
    makeTool(@"echo $$; sleep 60");
    for (NSString *method in
         [NSArray arrayWithObjects:@"toolHasOutputAvailable:", @"toolIsRunning:", @"toolShouldCancel", nil]) {
        [host->output setLength:0];
        host->raises = method;
        EXPECT_EQ(nameRaisedBy([&] { [client runTask:@"task" argument:nil delegate:host]; }), "OVTestException");
        if (![method isEqualToString:@"toolShouldCancel"]) {
            ASSERT_GT(atoi(output().c_str()), 1);
            EXPECT_EQ(kill(atoi(output().c_str()), 0), -1) << "the tool was left behind";
        }
    }
    EXPECT_EQ(output(), "") << "who raises before the start cancels it";
}

} // namespace

} // namespace facetest
