#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// How much memory is free.
///
/// Threads: any.
@interface OVMemoryStatistics : NSObject

/// Free physical memory in bytes; -1, with a text on standard error, when it cannot be measured.
+ (int64_t)freeMemoryCount;

@end

OV_ASSUME_NONNULL_END
