#include "Platform/UserDefaults.h"
#include "Support/OVLog.h"

namespace orvane {

namespace {

class HeadlessUserDefaults final : public UserDefaults {
  public:
    std::optional<PropertyListValue> objectForKey(const std::string& /*key*/, const std::string& /*domain*/) override {
        return std::nullopt;
    }

    void setObject(const PropertyListValue& /*object*/, const std::string& /*forKey*/,
                   const std::string& domain) override {
        OVLog("There are no user defaults: what was set in %s is lost", domain.c_str());
    }

    bool synchronize() override { return false; }
};

class HeadlessUserDefaultsFactory final : public UserDefaultsFactory {
  public:
    std::unique_ptr<UserDefaults> create() override { return std::make_unique<HeadlessUserDefaults>(); }
};

} // namespace

UserDefaultsFactory& UserDefaultsFactory::platform() {
    static constinit HeadlessUserDefaultsFactory factory;
    return factory;
}

} // namespace orvane
