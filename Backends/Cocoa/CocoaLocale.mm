#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Locale.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaLocale final : public Locale {
  public:
    std::string decimalSeparator() override {
        return guarded(std::string("."), [] {
            NSString* separator = [[NSLocale currentLocale] objectForKey:NSLocaleDecimalSeparator];
            return [separator length] > 0 ? textOf(separator) : std::string(".");
        });
    }

    std::string zeroDigit() override {
        return guarded(std::string("0"), [] {
            // Asking takes a formatter, and a table has a number in every row.
            NSMutableDictionary* known = [[NSThread currentThread] threadDictionary];
            NSString* locale = [[NSLocale currentLocale] localeIdentifier];
            NSString* name = [@"com.orvane.zero-digit." stringByAppendingString:(locale != nil ? locale : @"")];
            if ([known objectForKey:name] == nil) {
                NSNumberFormatter* formatter = [[[NSNumberFormatter alloc] init] autorelease];
                NSString* zero = [formatter stringFromNumber:[NSNumber numberWithInt:0]];
                [known setObject:(zero != nil ? zero : @"0") forKey:name];
            }
            return textOf([known objectForKey:name]);
        });
    }

    std::string dateString() override {
        return guarded(std::string(), [] {
            NSDateFormatter* formatter = [[[NSDateFormatter alloc] init] autorelease];
            [formatter setDateFormat:@"yyyy-MM-dd"];
            return textOf([formatter stringFromDate:[NSDate date]]);
        });
    }
};

} // namespace

Locale& Locale::platform() {
    static constinit CocoaLocale locale;
    return locale;
}

} // namespace orvane
