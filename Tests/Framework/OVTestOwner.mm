#import "Tests/Framework/FaceTest.h"

@implementation OVTestOwner

- (id)init {
    if ((self = [super init]) != nil) {
        output = [[NSMutableString alloc] init];
    }
    return self;
}

- (void)dealloc {
    [output release];
    [super dealloc];
}

- (void)raiseIn:(NSString*)method {
    if ([raises isEqualToString:method]) {
        [NSException raise:@"OVTestException" format:@"raised in %@", method];
    }
}

- (void)taskWillBegin:(OVTask*)task {
    static_cast<void>(task);
}

- (void)task:(OVTask*)task completedWithStatus:(int32_t)status {
    static_cast<void>(task);
    static_cast<void>(status);
}

- (void)hasOutputAvailable:(NSString*)chunk {
    [self raiseIn:@"hasOutputAvailable:"];
    [output appendString:(chunk != nil ? chunk : @"(nil)")];
}

- (BOOL)shouldCancel {
    ++questions;
    [self raiseIn:@"shouldCancel"];
    return cancels;
}

- (NSString*)archiveDesktopPath {
    return archive;
}

- (uint64_t)largeFilesSize {
    return size;
}

- (NSArray*)inputPathsWithDirectoriesOnly:(BOOL)directoriesOnly allowsMultipleSelection:(BOOL)allowsMultipleSelection {
    askedForDirectoriesOnly = directoriesOnly;
    askedForMultipleSelection = allowsMultipleSelection;
    return chosen;
}

@end
