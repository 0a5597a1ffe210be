#include "Backends/Cocoa/CocoaSupport.h"

#include "Support/OVText.h"

#include <vector>

/// Work on its way to the main thread; the thread that waits for it owns it.
@interface OVCarriedWork : NSObject {
  @public
    const std::function<void()>* work_;
}
@end

@implementation OVCarriedWork

- (void)perform {
    (*work_)();
}

@end

namespace orvane::cocoa {

NSString* stringOf(std::string_view text) {
    NSString* string = [[[NSString alloc] initWithBytes:text.data() length:text.size()
                                               encoding:NSUTF8StringEncoding] autorelease];
    if (string == nil) {
        string = [[[NSString alloc] initWithBytes:text.data() length:text.size()
                                         encoding:NSISOLatin1StringEncoding] autorelease];
    }
    return string;
}

NSString* stringOfPath(std::string_view path) {
    NSString* string = [[NSFileManager defaultManager] stringWithFileSystemRepresentation:path.data()
                                                                                   length:path.size()];
    return string != nil ? string : stringOf(path);
}

// Not UTF8String, which ends at the first null character, and not a lossy conversion: what that makes of half a pair is
// the framework's secret, and GNUstep's has lost the rest with it.
std::string textOf(NSString* string) {
    const NSUInteger length = [string length];
    std::vector<unichar> units(length);
    [string getCharacters:units.data() range:NSMakeRange(0, length)];
    std::string text;
    text.reserve(length);
    for (std::size_t place = 0; place < units.size(); ++place) {
        char32_t character = units[place];
        const char32_t next = place + 1 < units.size() ? units[place + 1] : 0;
        if ((character & 0xFC00U) == 0xD800 && (next & 0xFC00U) == 0xDC00) {
            character = 0x10000U + ((character & 0x3FFU) << 10U) + (next & 0x3FFU);
            ++place;
        } else if ((character & 0xF800U) == 0xD800) {
            character = 0xFFFD;
        }
        appendUTF8(text, character);
    }
    return text;
}

std::optional<std::string> optionalTextOf(NSString* string) {
    return string != nil ? std::optional(textOf(string)) : std::nullopt;
}

void logException(id exception) {
    if ([exception isKindOfClass:[NSException class]]) {
        OVLog("%s: %s", textOf([exception name]).c_str(), textOf([exception reason]).c_str());
    } else {
        OVLog("An exception that is no NSException: %s", textOf([exception description]).c_str());
    }
}

void onMainThread(const std::function<void()>& work) {
    if ([NSThread isMainThread]) {
        work();
        return;
    }
    @autoreleasepool {
        OVCarriedWork* const carried = [[[OVCarriedWork alloc] init] autorelease];
        carried->work_ = &work;
        [carried performSelectorOnMainThread:@selector(perform)
                                  withObject:nil
                               waitUntilDone:YES
                                       modes:commonRunLoopModes()];
    }
}

void addRepeatingTimer(double seconds, id target, SEL selector) {
    NSTimer* timer = [NSTimer timerWithTimeInterval:seconds target:target selector:selector userInfo:nil repeats:YES];
    for (NSString* mode in commonRunLoopModes()) {
        [[NSRunLoop currentRunLoop] addTimer:timer forMode:mode];
    }
}

} // namespace orvane::cocoa
