#include "Backends/Cocoa/CocoaUserDefaults.h"

#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/UserDefaults.h"
#include "Support/OVVisit.h"

#include <cstdint>

namespace orvane {

namespace cocoa {

namespace {

struct ObjectOf {
    id operator()(bool value) const { return [NSNumber numberWithBool:value]; }
    id operator()(std::int64_t value) const { return [NSNumber numberWithLongLong:value]; }
    id operator()(std::uint64_t value) const { return [NSNumber numberWithUnsignedLongLong:value]; }
    id operator()(double value) const { return [NSNumber numberWithDouble:value]; }
    id operator()(const std::string& text) const { return stringOf(text); }
    id operator()(const PropertyListData& data) const { return [NSData dataWithBytes:data.data() length:data.size()]; }
    id operator()(PropertyListDate date) const {
        return [NSDate dateWithTimeIntervalSinceReferenceDate:date.secondsSinceReferenceDate];
    }
    id operator()(const PropertyListArray& array) const {
        NSMutableArray* objects = [NSMutableArray arrayWithCapacity:array.size()];
        for (const PropertyListValue& value : array) {
            [objects addObject:objectOf(value)];
        }
        return objects;
    }
    id operator()(const PropertyListDictionary& dictionary) const {
        NSMutableDictionary* objects = [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
        for (const auto& [key, value] : dictionary) {
            [objects setObject:objectOf(value) forKey:stringOf(key)];
        }
        return objects;
    }
};

PropertyListValue valueOfNumber(NSNumber* number) {
    // There are two boolean objects, on either system, and nothing else tells them from numbers on both.
    if (number == [NSNumber numberWithBool:YES] || number == [NSNumber numberWithBool:NO]) {
        return number == [NSNumber numberWithBool:YES];
    }
    const char type = [number objCType][0];
    if (type == 'f' || type == 'd') {
        return [number doubleValue];
    }
    if (type == 'Q' && [number unsignedLongLongValue] >> 63U != 0) {
        return std::uint64_t{[number unsignedLongLongValue]};
    }
    return std::int64_t{[number longLongValue]};
}

void logNoPropertyList(id object) {
    OVLog("No property list holds a %s", object != nil ? textOf(NSStringFromClass([object class])).c_str() : "nil");
}

PropertyListArray valuesOf(NSArray* array) {
    PropertyListArray values;
    values.reserve([array count]);
    for (id object in array) {
        if (std::optional<PropertyListValue> value = valueOf(object)) {
            values.push_back(std::move(*value));
        }
    }
    return values;
}

/// Whether a property list holds the object and all in it; the first that it does not is logged.
bool isPropertyList(id object) {
    for (Class kind : {[NSString class], [NSNumber class], [NSData class], [NSDate class]}) {
        if ([object isKindOfClass:kind]) {
            return true;
        }
    }
    const bool isDictionary = [object isKindOfClass:[NSDictionary class]];
    if (!isDictionary && ![object isKindOfClass:[NSArray class]]) {
        logNoPropertyList(object);
        return false;
    }
    for (id element in object) { // an element or a key
        if (isDictionary && ![element isKindOfClass:[NSString class]]) {
            OVLog("No property list holds a key of the class %s", textOf(NSStringFromClass([element class])).c_str());
            return false;
        }
        if (!isPropertyList(isDictionary ? [object objectForKey:element] : element)) {
            return false;
        }
    }
    return true;
}

} // namespace

id objectOf(const PropertyListValue& value) {
    return visitHeld(ObjectOf(), value);
}

std::optional<PropertyListValue> valueOf(id object) {
    if ([object isKindOfClass:[NSString class]]) {
        return textOf(object);
    }
    if ([object isKindOfClass:[NSNumber class]]) {
        return valueOfNumber(object);
    }
    if ([object isKindOfClass:[NSDictionary class]]) {
        return valuesOf(static_cast<NSDictionary*>(object));
    }
    if ([object isKindOfClass:[NSArray class]]) {
        return valuesOf(static_cast<NSArray*>(object));
    }
    if ([object isKindOfClass:[NSData class]]) {
        const auto* first = static_cast<const std::uint8_t*>([object bytes]);
        return PropertyListData(first, first + [object length]);
    }
    if ([object isKindOfClass:[NSDate class]]) {
        return PropertyListDate{[object timeIntervalSinceReferenceDate]};
    }
    logNoPropertyList(object);
    return std::nullopt;
}

PropertyListDictionary valuesOf(NSDictionary* dictionary) {
    PropertyListDictionary values;
    for (NSString* key in dictionary) {
        if (std::optional<PropertyListValue> value = valueOf([dictionary objectForKey:key])) {
            values.insert_or_assign(textOf(key), std::move(*value));
        }
    }
    return values;
}

id objectInDomain(NSUserDefaults* defaults, NSString* key, NSString* domain) {
    return [guarded<id>(nil, [&] { return [[[defaults persistentDomainForName:domain] objectForKey:key] retain]; })
        autorelease];
}

void setObjectInDomain(NSUserDefaults* defaults, id object, NSString* key, NSString* domain) {
    guarded(false, [&] {
        if (!isPropertyList(object)) {
            return false;
        }
        NSMutableDictionary* changed = [NSMutableDictionary dictionary];
        [changed addEntriesFromDictionary:[defaults persistentDomainForName:domain]]; // none of nil
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
