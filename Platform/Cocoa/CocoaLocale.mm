#include "Platform/Cocoa/CocoaSupport.h"
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
