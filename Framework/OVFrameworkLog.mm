#import <Foundation/Foundation.h>

#include "Support/OVLog.h"

namespace {

/// The system's diagnostics take the application's own way.
class ApplicationLog final : public orvane::OVLogSink {
  public:
    void logMessage(const char* message) override {
        NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
        NSString* const text = [NSString stringWithUTF8String:message];
        NSLog(@"%@", text != nil ? text : [NSString stringWithCString:message encoding:NSISOLatin1StringEncoding]);
        [pool release];
    }
};

constinit ApplicationLog applicationLog;

} // namespace

/// Exists for its `load`.
@interface OVFrameworkLog : NSObject
@end

@implementation OVFrameworkLog

+ (void)load {
    orvane::OVSetLogSink(&applicationLog);
}

@end
