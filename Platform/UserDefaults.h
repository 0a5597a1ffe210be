#pragma once

#include "Platform/PropertyList.h"

#include <memory>
#include <optional>
#include <string>

namespace orvane {

/// The user's defaults (`NSUserDefaults`), as one object sees them. Those of the user whom the process runs as.
class UserDefaults {
  public:
    /// `persistentDomainForName:`: all that the program of that name has stored; nothing when it has no domain.
    virtual std::optional<PropertyListDictionary> persistentDomainForName(const std::string& name) = 0;

    /// `setPersistentDomain:forName:`: replaces the whole domain.
    virtual void setPersistentDomain(const PropertyListDictionary& domain, const std::string& forName) = 0;

    /// `synchronize`: writes what was set, so that other processes read it. False when that failed.
    virtual bool synchronize() = 0;

    UserDefaults(const UserDefaults&) = delete;
    UserDefaults& operator=(const UserDefaults&) = delete;
    virtual ~UserDefaults() = default;

  protected:
    UserDefaults() = default;
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
    UserDefaultsFactory() = default;
    UserDefaultsFactory(const UserDefaultsFactory&) = default;
    UserDefaultsFactory& operator=(const UserDefaultsFactory&) = default;
    ~UserDefaultsFactory() = default;
};

} // namespace orvane
