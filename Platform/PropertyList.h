#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace orvane {

struct PropertyListValue;

using PropertyListData = std::vector<std::uint8_t>;
using PropertyListArray = std::vector<PropertyListValue>;
using PropertyListDictionary = std::map<std::string, PropertyListValue, std::less<>>;

/// An instant (`NSDate`).
struct PropertyListDate {
    double secondsSinceReferenceDate = 0; ///< since 2001-01-01 00:00:00 UTC
    bool operator==(const PropertyListDate&) const = default;
};

/// What a property list holds (`NSNumber` of a boolean, an integer and a floating value, `NSString`, `NSData`,
/// `NSDate`, `NSArray`, `NSDictionary`). Each kind survives being read and written back.
struct PropertyListValue : std::variant<bool, std::int64_t, std::uint64_t, double, std::string, PropertyListData,
                                        PropertyListDate, PropertyListArray, PropertyListDictionary> {
    using variant::variant;
    bool operator==(const PropertyListValue&) const = default;
};

} // namespace orvane
