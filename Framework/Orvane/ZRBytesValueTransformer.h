#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

@class ZRBytesValueTransformer;

/// A byte count that is not known yet: all bits set. It shows as "Calculating size...".
OV_EXTERN const
    NSUInteger ZRBytesValueTransformerCalculatingSize OV_SWIFT_NAME(ZRBytesValueTransformer.calculatingSize);

/// Turns byte counts into short texts ("1 byte", "512 bytes", "3.4 MB"), one way only. Registered under its own name,
/// so that a binding in Interface Builder finds it.
///
/// Threads: any; the mode is not changed while another thread uses the object. Bindings work on the main thread.
@interface ZRBytesValueTransformer : NSValueTransformer {
  @private
    int32_t mode_;
}

/// Which kilo. 1: 1024. 2: 1000. Any other: 1000 from macOS 10.6 on, before it 1024.
@property(assign) int32_t mode;
/// The kilo of the mode, found out anew by every call.
@property(readonly) uint64_t kilobyteSize;

/// The text for an object that answers `unsignedIntegerValue` and `floatValue`, as `NSNumber` does; nil for nil and
/// for any other object.
- (id OV_NULLABLE)transformedValue:(id OV_NULLABLE)value;

/// The text of the count with kilo 1000.
+ (NSString*)formatBytes:(uint64_t)bytes;

@end

OV_ASSUME_NONNULL_END
