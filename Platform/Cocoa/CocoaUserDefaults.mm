#include "Platform/Cocoa/CocoaPropertyList.h"
#include "Platform/Cocoa/CocoaSupport.h"
#include "Platform/UserDefaults.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaUserDefaults final : public UserDefaults {
  public:
    explicit CocoaUserDefaults(NSUserDefaults* defaults) : defaults_(defaults) {}

    std::optional<PropertyListDictionary> persistentDomainForName(const std::string& name) override {
        return guarded(std::optional<PropertyListDictionary>(), [&]() -> std::optional<PropertyListDictionary> {
            NSDictionary* domain = [defaults_.get() persistentDomainForName:stringOf(name)];
            return domain != nil ? std::optional(valuesOf(domain)) : std::nullopt;
        });
    }

    void setPersistentDomain(const PropertyListDictionary& domain, const std::string& forName) override {
        guarded(false, [&] {
            [defaults_.get() setPersistentDomain:dictionaryOf(domain) forName:stringOf(forName)];
            return true;
        });
    }

    bool synchronize() override {
        return guarded(false, [&] { return [defaults_.get() synchronize] != NO; });
    }

  private:
    Retained<NSUserDefaults> defaults_;
};

class CocoaUserDefaultsFactory final : public UserDefaultsFactory {
  public:
    std::unique_ptr<UserDefaults> create() override {
        // Without an object all messages go to nil: every domain is missing.
        return guarded(
            std::unique_ptr<UserDefaults>(std::make_unique<CocoaUserDefaults>(nil)),
            []() -> std::unique_ptr<UserDefaults> { return std::make_unique<CocoaUserDefaults>(freshUserDefaults()); });
    }
};

} // namespace

UserDefaultsFactory& UserDefaultsFactory::platform() {
    static constinit CocoaUserDefaultsFactory factory;
    return factory;
}

} // namespace orvane
