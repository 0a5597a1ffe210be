#import "Backends/Cocoa/CocoaSupport.h"

namespace {

/// The system's diagnostics take the application's own way.
class ApplicationLog final : public orvane::OVLogSink {
  public:
    void logMessage(const char* message) override {
        @autoreleasepool {
            NSLog(@"%@", orvane::cocoa::stringOf(message));
        }
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
