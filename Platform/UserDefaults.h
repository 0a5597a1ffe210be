#pragma once

#include "Platform/PropertyList.h"

#include <memory>
#include <optional>
#include <string>

namespace orvane {

/// The user's defaults (`NSUserDefaults`), as one object sees them. Those of the user whom the process runs as.
class UserDefaults {
  public:
    /// The key's value in `persistentDomainForName:`, which is all that the program of that name has stored; nothing
    /// without the domain or the key.
    virtual std::optional<PropertyListValue> objectForKey(const std::string& key, const std::string& domain) = 0;

    /// `setPersistentDomain:forName:` with the domain as it is but for this key, or with a new one. The other values
    /// do not pass through here: they are another program's, of whatever kinds it has.
    virtual void setObject(const PropertyListValue& object, const std::string& forKey, const std::string& domain) = 0;

    /// `synchronize`: writes what was set, so that other processes read it. False when that failed.
    virtual bool synchronize() = 0;

    virtual ~UserDefaults() = default;
};

/// Where `UserDefaults` come from.
class UserDefaultsFactory {
  public:
    /// The system's. Where there are no defaults, every domain is missing and what is set is lost, with a log line.
    /// Lives for ever; may be used from any thread.
    static UserDefaultsFactory& platform();

    /// `alloc` and `init`: a fresh object, not the shared one.
    virtual std::unique_ptr<UserDefaults> create() = 0;

  protected:
    ~UserDefaultsFactory() = default;
};

} // namespace orvane
