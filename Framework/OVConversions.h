#pragma once

#import "Backends/Cocoa/CocoaSupport.h"

#include "Tasks/OVVolumeDictionary.h"

#include <optional>
#include <string>
#include <vector>

/// Between the objects of the face and the values of the core, beyond what the back ends share. Nil becomes empty where
/// the core knows no nothing; arrays and dictionaries are new and autoreleased.
namespace orvane::face {

using cocoa::stringOf;
using cocoa::stringOfPath;
using cocoa::textOf;

/// The path as the file system spells it.
std::string pathOf(NSString* string);

/// The elements. One that is no string raises `NSInvalidArgumentException`: with fewer words a command would do
/// something else.
std::vector<std::string> textsOf(NSArray* strings);
std::vector<std::string> pathsOf(NSArray* strings);

template <typename Values, typename Convert> NSMutableArray* arrayOf(const Values& values, Convert convert) {
    NSMutableArray* const result = [NSMutableArray arrayWithCapacity:values.size()];
    for (const auto& value : values) {
        [result addObject:convert(value)];
    }
    return result;
}
NSMutableArray* stringsOfPaths(const std::vector<std::string>& paths);
NSMutableDictionary* dictionaryOf(const OVVolumeDictionary& volume);

/// The value of the object, or the object of the value, if there is one.
template <typename Object, typename Convert> auto ifAny(Object* object, Convert convert) {
    return object != nil ? std::optional(convert(object)) : std::nullopt;
}
template <typename Value, typename Convert> auto ifAny(const std::optional<Value>& value, Convert convert) {
    return value ? convert(*value) : nil;
}

} // namespace orvane::face
