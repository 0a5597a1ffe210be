// What an application does with Orvane.framework, in Objective-C, with or without ARC:
//
//     host status TOOL           whether the tool is set up
//     host set-up TOOL           sets it up, with the user's password
//     host tool TOOL TASK...     runs a task of the tool's, as root
//     host run LINE SECONDS      runs a line in its own process, which is cancelled after so many seconds
//
// The tool is where the installer package puts it: /Library/PrivilegedHelperTools/OrvaneTool.

#import <Orvane/Orvane.h>

#include <stdio.h>

/// Shows what a task prints, and ends it when asked to.
@interface Owner : NSObject <OVTaskDelegate> {
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

@end

static BOOL isReady(NSString* tool) {
    NSFileManager* files = [NSFileManager defaultManager];
    return [files isSetUIDRoot:tool] && ![files isIgnoringSetUIDAtPath:tool];
}

static int showStatus(NSString* tool) {
    const BOOL ready = isReady(tool);
    printf("%s is %s\n", [tool fileSystemRepresentation], ready ? "ready" : "not set up");
    return ready ? 0 : 1;
}

// The call below is deprecated. On macOS 13 and later Host.swift shows what to do instead.
static int setUp(NSString* tool) {
    char word[] = "repairPriviliges";
    char* const words[] = {word, NULL};
    const int32_t status = [OVAuthorization runToolWithPriviliges:tool arguments:words];
    if (status != 0) {
        printf("not started: %d\n", (int)status);
    }
    return showStatus(tool); // 0 says that it was started, not what came of it
}

// What the tool prints is this process's to show: here it goes to the same output.
static int runTool(NSString* tool, NSArray* words) {
    NSTask* task = [[NSTask alloc] init];
    [task setLaunchPath:tool];
    [task setArguments:words];
    [task launch];
    [task waitUntilExit];
    printf("status %d\n", [task terminationStatus]);
    return [task terminationStatus];
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
        if ([what isEqual:@"tool"] && count > 3) {
            return runTool([words objectAtIndex:2], [words subarrayWithRange:NSMakeRange(3, count - 3)]);
        }
        if ([what isEqual:@"run"] && count == 4) {
            return runLine([words objectAtIndex:2], [[words objectAtIndex:3] doubleValue]);
        }
        fprintf(stderr, "usage: host status TOOL | set-up TOOL | tool TOOL TASK... | run LINE SECONDS\n");
        return 64;
    }
}
