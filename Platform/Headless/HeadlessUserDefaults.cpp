#include "Platform/UserDefaults.h"
#include "Support/OVLog.h"

namespace orvane {

namespace {

class HeadlessUserDefaults final : public UserDefaults {
  public:
    std::optional<PropertyListDictionary> persistentDomainForName(const std::string& /*name*/) override {
        return std::nullopt;
    }

    void setPersistentDomain(const PropertyListDictionary& /*domain*/, const std::string& forName) override {
        OVLog("There are no user defaults: what was set in %s is lost", forName.c_str());
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
