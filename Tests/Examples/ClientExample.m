#import <Orvane/Orvane.h>

#include <stdio.h>

/// Shows what a task prints, and never ends it.
@interface Host : NSObject <OVToolClientDelegate>
@end

@implementation Host

- (void)toolHasOutputAvailable:(NSData*)bytes {
    fwrite([bytes bytes], 1, [bytes length], stdout);
}

- (BOOL)toolShouldCancel {
    return NO;
}

@end

int main(int argc, char* argv[]) {
    int status = 64;
    @autoreleasepool {
        if (argc == 3) {
            OVToolClient* const client = [[OVToolClient alloc] initWithPath:@(argv[1])];
            if ([client state] < OVToolStateOlder) {
                printf("The tool is not ready: %s\n", [[client setUpCommand] UTF8String]);
                status = 77;
            } else {
                OVToolResult* const result = [client runTask:@(argv[2]) argument:nil delegate:[[Host alloc] init]];
                printf("status %d\n", [result status]);
                status = [result status];
            }
        }
    }
    return status;
}
