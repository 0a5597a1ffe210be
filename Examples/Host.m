// What an application does with Orvane.framework, in Objective-C, with or without ARC:
//
//     host status TOOL           whether the tool is set up
//     host set-up TOOL           sets it up, with the user's password
//     host tool TOOL TASK [ARG]  runs a task of the tool's, as root
//     host run LINE SECONDS      runs a line in its own process, which is cancelled after so many seconds
//
// The tool is where the installer package puts it: /Library/PrivilegedHelperTools/OrvaneTool.

#import <Orvane/Orvane.h>

#include <stdio.h>

/// Shows what a task prints, its own or the tool's, and ends it when asked to.
@interface Owner : NSObject <OVTaskDelegate, OVToolClientDelegate> {
    NSString* line_;
    volatile BOOL cancelled_; // set on the main thread, read on that of the task
    volatile BOOL ended_;
}
- (id)initWithLine:(NSString*)line;
- (BOOL)ended;
- (void)cancel;
- (void)run:(id)unused;
@end

@implementation Owner

- (id)initWithLine:(NSString*)line {
    if ((self = [super init]) != nil) {
        line_ = [line copy];
    }
    return self;
}

- (BOOL)ended {
    return ended_;
}

- (void)cancel {
    cancelled_ = YES;
}

// On a thread of its own: a task blocks its caller.
- (void)run:(id)unused {
    (void)unused;
    @autoreleasepool {
        OVTaskRunner* runner = [[OVTaskRunner alloc] init];
        runner.delegate = self;
        printf("status %d\n", (int)[runner runBashCommand:line_]);
        runner.delegate = nil; // its end releases nothing
    }
    ended_ = YES;
}

// The rest is the protocol's, on the thread of the task. An application carries output to its window on the main
// thread.

- (void)hasOutputAvailable:(NSString*)output {
    printf("%s", output != nil ? [output UTF8String] : "(bytes that are not UTF-8)\n");
    fflush(stdout);
}

- (BOOL)shouldCancel {
    return cancelled_;
}

- (void)taskWillBegin:(id)task {
    (void)task;
}

- (void)task:(id)task completedWithStatus:(int32_t)status {
    (void)task;
    (void)status;
}

- (NSString*)archiveDesktopPath {
    return nil;
}

- (uint64_t)largeFilesSize {
    return 100;
}

- (NSArray*)inputPathsWithDirectoriesOnly:(BOOL)directoriesOnly allowsMultipleSelection:(BOOL)allowsMultipleSelection {
    (void)directoriesOnly;
    (void)allowsMultipleSelection;
    return nil;
}

// And of the other protocol.

- (void)toolHasOutputAvailable:(NSData*)bytes {
    fwrite([bytes bytes], 1, [bytes length], stdout);
    fflush(stdout);
}

- (BOOL)toolShouldCancel {
    return cancelled_;
}

@end

static int showStatus(NSString* path) {
    OVToolClient* client = [[OVToolClient alloc] initWithPath:path];
    const BOOL ready = [client state] >= OVToolStateOlder;
    printf("%s is %s\n", [path fileSystemRepresentation], ready ? "ready" : "not set up");
    if (!ready) {
        printf("An administrator can type: %s\n", [[client setUpCommand] UTF8String]);
    }
    return ready ? 0 : 1;
}

// On macOS 13 and later Host.swift shows what to do instead.
static int setUp(NSString* path) {
    const int32_t status = [[[OVToolClient alloc] initWithPath:path] setUp];
    if (status != 0) {
        printf("not started: %d\n", (int)status);
    }
    return showStatus(path); // 0 says that it was started, not what came of it
}

// What the tool prints is this process's to show: here it goes to the same output. An application calls this on a
// thread of its own, as the task below.
static int runTool(NSString* path, NSString* task, NSString* argument) {
    OVToolClient* client = [[OVToolClient alloc] initWithPath:path];
    OVToolResult* result = [client runTask:task argument:argument delegate:[[Owner alloc] initWithLine:task]];
    printf("status %d%s\n", (int)[result status], [result cancelled] ? ", cancelled" : "");
    for (NSString* name in [result leftRunningNames]) {
        printf("%s keeps running.\n", [name UTF8String]);
    }
    return [result status];
}

static int runLine(NSString* line, double seconds) {
    Owner* owner = [[Owner alloc] initWithLine:line];
    [NSThread detachNewThreadSelector:@selector(run:) toTarget:owner withObject:nil];
    // As the button of a window would
    [owner performSelector:@selector(cancel) withObject:nil afterDelay:seconds];
    // An application's main thread is in its run loop. A task may need it there.
    while (![owner ended]) {
        [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.1]];
    }
    return 0;
}

int main(void) {
    @autoreleasepool {
        NSArray* words = [[NSProcessInfo processInfo] arguments];
        const NSUInteger count = [words count];
        NSString* what = count > 2 ? [words objectAtIndex:1] : @"";
        if ([what isEqual:@"status"] && count == 3) {
            return showStatus([words objectAtIndex:2]);
        }
        if ([what isEqual:@"set-up"] && count == 3) {
            return setUp([words objectAtIndex:2]);
        }
        if ([what isEqual:@"tool"] && (count == 4 || count == 5)) {
            return runTool([words objectAtIndex:2], [words objectAtIndex:3], count == 5 ? [words lastObject] : nil);
        }
        if ([what isEqual:@"run"] && count == 4) {
            return runLine([words objectAtIndex:2], [[words objectAtIndex:3] doubleValue]);
        }
        fprintf(stderr, "usage: host status TOOL | set-up TOOL | tool TOOL TASK [ARG] | run LINE SECONDS\n");
        return 64;
    }
}
