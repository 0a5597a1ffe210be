#include "Backends/Cocoa/CocoaPropertyList.h"

#include "Backends/Cocoa/CocoaSupport.h"
#include "Support/OVVisit.h"

#include <cstdint>
#include <limits>
#include <type_traits>

namespace orvane::cocoa {

namespace {

NSArray* arrayOf(const PropertyListArray& array) {
    NSMutableArray* objects = [NSMutableArray arrayWithCapacity:array.size()];
    for (const PropertyListValue& value : array) {
        [objects addObject:objectOf(value)];
    }
    return objects;
}

NSDictionary* dictionaryOf(const PropertyListDictionary& dictionary) {
    NSMutableDictionary* objects = [NSMutableDictionary dictionaryWithCapacity:dictionary.size()];
    for (const auto& [key, value] : dictionary) {
        [objects setObject:objectOf(value) forKey:stringOf(key)];
    }
    return objects;
}

PropertyListValue valueOfNumber(NSNumber* number) {
    // There are two boolean objects, on either system, and nothing else tells them from numbers on both.
    if (number == [NSNumber numberWithBool:YES] || number == [NSNumber numberWithBool:NO]) {
        return number == [NSNumber numberWithBool:YES];
    }
    switch ([number objCType][0]) {
    case 'f':
    case 'd':
        return [number doubleValue];
    default:
        break;
    }
    const std::uint64_t whole = [number unsignedLongLongValue];
    const bool isLarge =
        [number objCType][0] == 'Q' && whole > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
    return isLarge ? PropertyListValue(whole) : PropertyListValue(std::int64_t{[number longLongValue]});
}

void logNoPropertyList(id object) {
    OVLog("No property list holds a %s", object != nil ? textOf(NSStringFromClass([object class])).c_str() : "nil");
}

PropertyListData bytesOf(NSData* data) {
    const auto* first = static_cast<const std::uint8_t*>([data bytes]);
    return first != nullptr ? PropertyListData(first, first + [data length]) : PropertyListData();
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

} // namespace

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

id objectOf(const PropertyListValue& value) {
    return visitHeld(
        [](const auto& held) -> id {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, bool>) {
                return [NSNumber numberWithBool:held];
            } else if constexpr (std::is_same_v<Held, std::int64_t>) {
                return [NSNumber numberWithLongLong:held];
            } else if constexpr (std::is_same_v<Held, std::uint64_t>) {
                return [NSNumber numberWithUnsignedLongLong:held];
            } else if constexpr (std::is_same_v<Held, double>) {
                return [NSNumber numberWithDouble:held];
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return stringOf(held);
            } else if constexpr (std::is_same_v<Held, PropertyListData>) {
                return [NSData dataWithBytes:held.data() length:held.size()];
            } else if constexpr (std::is_same_v<Held, PropertyListDate>) {
                return [NSDate dateWithTimeIntervalSinceReferenceDate:held.secondsSinceReferenceDate];
            } else if constexpr (std::is_same_v<Held, PropertyListArray>) {
                return arrayOf(held);
            } else {
                static_assert(std::is_same_v<Held, PropertyListDictionary>);
                return dictionaryOf(held);
            }
        },
        value);
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
        return bytesOf(object);
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

} // namespace orvane::cocoa
