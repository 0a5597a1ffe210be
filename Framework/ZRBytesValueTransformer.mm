#import <Orvane/ZRBytesValueTransformer.h>

#import "Framework/OVConversions.h"

#include "Support/ZRBytesValueTransformer.h"

const NSUInteger ZRBytesValueTransformerCalculatingSize = static_cast<NSUInteger>(-1);

namespace {

/// Any object that answers as `NSNumber` does.
struct Count {
    id object;
    [[nodiscard]] orvane::NSUInteger unsignedIntegerValue() const { return [object unsignedIntegerValue]; }
    [[nodiscard]] float floatValue() const { return [object floatValue]; }
};

} // namespace

@implementation ZRBytesValueTransformer

@synthesize mode = mode_;

+ (void)load {
    @autoreleasepool {
        [NSValueTransformer setValueTransformer:[[[self alloc] init] autorelease] forName:@"ZRBytesValueTransformer"];
    }
}

- (id)init {
    if ((self = [super init]) != nil) {
        [self setMode:0];
    }
    return self;
}

+ (Class)transformedValueClass {
    return [NSString class];
}

+ (BOOL)allowsReverseTransformation {
    return orvane::ZRBytesValueTransformer::allowsReverseTransformation() ? YES : NO;
}

- (uint64_t)kilobyteSize {
    orvane::ZRBytesValueTransformer core;
    core.setMode([self mode]);
    return core.kilobyteSize();
}

- (id)transformedValue:(id)value {
    if (![value respondsToSelector:@selector(unsignedIntegerValue)] ||
        ![value respondsToSelector:@selector(floatValue)]) {
        return nil; // nil too
    }
    orvane::ZRBytesValueTransformer core;
    core.setMode([self mode]);
    return orvane::face::stringOf(core.transformedValue(Count{value}));
}

+ (NSString*)formatBytes:(uint64_t)bytes {
    return orvane::face::stringOf(orvane::ZRBytesValueTransformer::formatBytes(bytes));
}

@end
