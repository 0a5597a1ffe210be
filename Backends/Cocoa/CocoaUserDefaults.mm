#include "Backends/Cocoa/CocoaUserDefaults.h"

#include "Backends/Cocoa/CocoaPropertyList.h"
#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/UserDefaults.h"

namespace orvane {

namespace cocoa {

id objectInDomain(NSUserDefaults* defaults, NSString* key, NSString* domain) {
    return [guarded<id>(nil, [&] { return [[[defaults persistentDomainForName:domain] objectForKey:key] retain]; })
        autorelease];
}

void setObjectInDomain(NSUserDefaults* defaults, id object, NSString* key, NSString* domain) {
    guarded(false, [&] {
        if (!isPropertyList(object)) {
            return false;
        }
        NSMutableDictionary* changed = [[[defaults persistentDomainForName:domain] mutableCopy] autorelease];
        if (changed == nil) {
            changed = [NSMutableDictionary dictionary];
        }
        [changed setObject:object forKey:key];
        [defaults setPersistentDomain:changed forName:domain];
        return true;
    });
}

} // namespace cocoa

namespace {

using namespace cocoa;

class CocoaUserDefaults final : public UserDefaults {
  public:
    explicit CocoaUserDefaults(NSUserDefaults* defaults) : defaults_(defaults) {}

    std::optional<PropertyListValue> objectForKey(const std::string& key, const std::string& domain) override {
        return guarded(std::optional<PropertyListValue>(), [&] {
            id object = objectInDomain(defaults_.get(), stringOf(key), stringOf(domain));
            return object != nil ? valueOf(object) : std::nullopt;
        });
    }

    void setObject(const PropertyListValue& object, const std::string& forKey, const std::string& domain) override {
        guarded(false, [&] {
            setObjectInDomain(defaults_.get(), objectOf(object), stringOf(forKey), stringOf(domain));
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
