// An application in plain Objective-C: it sees the public headers and what the library exports, and nothing else.
#import <Orvane/Orvane.h>

OV_ASSUME_NONNULL_BEGIN

/// The framework leaves this name to its hosts.
@interface OVTask : NSObject
@end

@implementation OVTask
@end

@interface Owner : NSObject <OVTaskDelegate> {
  @public
    NSMutableString* output;
    OVTask* begun;
    OVTaskStatus ended;
}
@end

@implementation Owner

- (void)taskWillBegin:(OVTask*)task {
    begun = task;
}

- (void)task:(OVTask*)task completedWithStatus:(int32_t)status {
    (void)task;
    ended = (OVTaskStatus)status;
}

- (void)hasOutputAvailable:(NSString* OV_NULLABLE)chunk {
    [output appendString:(chunk != nil ? chunk : @"(nil)")];
}

- (BOOL)shouldCancel {
    return NO;
}

- (NSString* OV_NULLABLE)archiveDesktopPath {
    return nil;
}

- (uint64_t)largeFilesSize {
    return 100;
}

- (NSArray OV_OF(NSString*) * OV_NULLABLE)inputPathsWithDirectoriesOnly:(BOOL)directoriesOnly
                                                allowsMultipleSelection:(BOOL)allowsMultipleSelection {
    (void)directoriesOnly;
    (void)allowsMultipleSelection;
    return nil;
}

@end

static int failures = 0;

static void check(BOOL holds, const char* what) {
    if (!holds) {
        fprintf(stderr, "FAIL  %s\n", what);
        ++failures;
    }
}

int main(void) {
    @autoreleasepool {
        Owner* const owner = [[Owner alloc] init];
        owner->output = [NSMutableString string];
        OVTaskRunner* const runner = [[OVTaskRunner alloc] init];
        runner.delegate = owner;

        const OVTaskStatus status = [runner runCommand:@"/bin/sh"
                                             arguments:[NSArray arrayWithObjects:@"-c", @"echo text", nil]];
        check(status == OVTaskStatusSuccess, "a command succeeds");
        check([owner->output isEqualToString:@"text\n"], "its output comes to the owner");
        const int32_t number = [runner runBashCommand:@"exit 3"];
        check(number == 1, "a status is the number that it always was");
        check([runner forceDeleteFiles] == OVTaskStatusCancelled, "a choice that is not made cancels");
        check(sizeof(OVTaskStatus) == sizeof(int32_t), "a status has 32 bits");

        OVTask* const task = [[[OVTask alloc] init] autorelease];
        [owner taskWillBegin:task];
        [owner task:task completedWithStatus:OVTaskStatusFailure];
        check(owner->begun == task && owner->ended == OVTaskStatusFailure, "an owner has tasks of a class of its own");

        id<OVTaskDelegate> const anybody = owner;
        [anybody taskWillBegin:@"a text"];
        check([(id)owner->begun isEqual:@"a text"], "a task is any object");

        OVVolumeKey const keys[] = {OVVolumePath, OVVolumeOwner, OVVolumeIsLocal, OVVolumeTotalSpace,
                                    OVVolumeFreeSpace};
        NSArray OV_OF(NSMutableDictionary OV_OF(OVVolumeKey, id)*)* OV_NULLABLE const volumes =
            [runner mountedBrowsableVolumes];
        for (NSDictionary OV_OF(OVVolumeKey, id) * volume in volumes) {
            for (size_t index = 0; index < sizeof keys / sizeof *keys; ++index) {
                check([volume objectForKey:keys[index]] != nil, "a volume has each of the keys");
            }
        }
        OVBrowser const browsers[] = {kOVBrowserSafari, kOVBrowserFirefox, kOVBrowserChrome, kOVBrowsersAll};
        check([browsers[3] isEqualToString:@"ALL_BROWSERS"], "browsers are strings");
        check([[runner secureEraseFreeSpaceCommand:@"/Volumes/V"] rangeOfString:kOVSecureEraseFreeSpaceTempFilename]
                      .length > 0,
              "the erasure fills the named file");

        OVShellCommand* const command = [[[OVShellCommand alloc] init] autorelease];
        check([command runCommandAtPath:@"/bin/true" arguments:nil delegate:runner] == OVShellCommandSuccess,
              "the runner is a command's delegate");
        check(OVShellCommandCancelled == -9998 && OVShellCommandCancelFailed == -9999, "other results");

        int32_t major = -1;
        GetSystemVersion(&major, NULL, NULL);
        check([SystemVersionString() hasPrefix:[NSString stringWithFormat:@"%d.", (int)major]], "the system's version");
        check(SystemIsSnowLeopardOrLater() == NO || major == 10, "10.6 or later");
        check([OVMemoryStatistics freeMemoryCount] > 0, "free memory");
        check([[ZRBytesValueTransformer formatBytes:ZRBytesValueTransformerCalculatingSize] length] > 0,
              "a size not known");
        OVAuthorization* const authorization = [[[OVAuthorization alloc] initWithToolPath:nil] autorelease];
        authorization.toolPath = @"/bin/true";
        check([authorization.toolPath isEqualToString:@"/bin/true"], "the tool path is a property");
        OVToolClient* const client = [[[OVToolClient alloc] initWithPath:@"/no/tool"] autorelease];
        check([client state] == OVToolStateMissing && [[client runTask:@"flushDNS" argument:nil
                                                              delegate:nil] status] == -1,
              "a tool that is missing");
        check([OVPasteboardServer instancesRespondToSelector:@selector(pollPasteboard:)], "the clipboard history");
        NSArray OV_OF(NSString*)* const found = [[NSFileManager defaultManager] arrayWithFilesMatchingPattern:@"s?"
                                                                                                  inDirectory:@"/bin"];
        check([found containsObject:@"/bin/sh"], "the categories came along");
        runner.delegate = nil;
        [owner release];
        [runner release];
    }
    return failures == 0 ? 0 : 1;
}

OV_ASSUME_NONNULL_END
