#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Bundle.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaBundle final : public Bundle {
  public:
    std::optional<std::string> bundleIdentifier() override {
        return guarded(std::optional<std::string>(),
                       [] { return optionalTextOf([[NSBundle mainBundle] bundleIdentifier]); });
    }

    std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) override {
        return guarded(std::optional<std::string>(), [=] {
            return optionalTextOf([[NSBundle mainBundle] pathForResource:stringOf(name) ofType:stringOf(ofType)]);
        });
    }

    std::string localizedString(std::string_view key) override {
        return guarded(std::string(key), [=] {
            return textOf([[NSBundle mainBundle] localizedStringForKey:stringOf(key) value:@"" table:nil]);
        });
    }
};

} // namespace

Bundle& Bundle::platform() {
    static constinit CocoaBundle bundle;
    return bundle;
}

} // namespace orvane
