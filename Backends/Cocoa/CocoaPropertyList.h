#pragma once

#include "Platform/PropertyList.h"

#import <Foundation/Foundation.h>

#include <optional>

namespace orvane::cocoa {

/// Whether a property list holds the object and all in it; the first that it does not is logged.
bool isPropertyList(id object);

/// An autoreleased property list object of the value; booleans and numbers become `NSNumber`s of their kind.
id objectOf(const PropertyListValue& value);

/// The value of a property list object. Nothing, with a log line, for an object that no property list holds.
/// An integer is unsigned only where 64 bits with a sign cannot hold it.
std::optional<PropertyListValue> valueOf(id object);
PropertyListDictionary valuesOf(NSDictionary* dictionary);

} // namespace orvane::cocoa
