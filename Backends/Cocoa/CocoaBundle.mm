#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Bundle.h"

namespace orvane {

namespace {

using namespace cocoa;

/// The application's; that of a program without one in "<prefix>/bin" is "<prefix>/share/orvane", if it is there.
NSBundle* findOwnBundle() {
    NSBundle* const main = [NSBundle mainBundle];
    NSString* const folder = [[main executablePath] stringByDeletingLastPathComponent];
    if ([main bundleIdentifier] != nil || ![[folder lastPathComponent] isEqualToString:@"bin"]) {
        return main;
    }
    NSString* const prefix = [folder stringByDeletingLastPathComponent];
    NSBundle* const shared = [NSBundle bundleWithPath:[prefix stringByAppendingPathComponent:@"share/orvane"]];
    return shared != nil ? shared : main;
}

NSBundle* ownBundle() {
    static NSBundle* const bundle = [] {
        useLanguagesOfEnvironment();
        return [findOwnBundle() retain];
    }();
    return bundle;
}

class CocoaBundle final : public Bundle {
  public:
    std::optional<std::string> bundleIdentifier() override {
        return guarded(std::optional<std::string>(),
                       [] { return optionalTextOf([[NSBundle mainBundle] bundleIdentifier]); });
    }

    std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) override {
        return guarded(std::optional<std::string>(), [=] {
            return optionalTextOf([ownBundle() pathForResource:stringOf(name) ofType:stringOf(ofType)]);
        });
    }

    std::string localizedString(std::string_view key) override {
        return guarded(std::string(key),
                       [=] { return textOf([ownBundle() localizedStringForKey:stringOf(key) value:@"" table:nil]); });
    }
};

} // namespace

Bundle& Bundle::platform() {
    static constinit CocoaBundle bundle;
    return bundle;
}

} // namespace orvane
