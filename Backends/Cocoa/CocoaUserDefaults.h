#pragma once

#include "Platform/PropertyList.h"

#import <Foundation/Foundation.h>

#include <optional>

namespace orvane::cocoa {

/// An autoreleased property list object of the value; booleans and numbers become `NSNumber`s of their kind.
id objectOf(const PropertyListValue& value);

/// The value of a property list object. Nothing, with a log line, for an object that no property list holds.
/// An integer is unsigned only where 64 bits with a sign cannot hold it.
std::optional<PropertyListValue> valueOf(id object);
PropertyListDictionary valuesOf(NSDictionary* dictionary);

// Through these two an object stays the object that it is. An exception ends in them and is logged.

/// The object for the key in the persistent domain of that name, autoreleased; nil without the domain or the key.
id objectInDomain(NSUserDefaults* defaults, NSString* key, NSString* domain);

/// Sets the one key in a copy of the domain, or in a new one, and stores that. All other objects of the domain, which
/// is another program's, stay the objects they were, also of kinds that `PropertyListValue` does not know. What no
/// property list holds is logged and not stored.
void setObjectInDomain(NSUserDefaults* defaults, id object, NSString* key, NSString* domain);

} // namespace orvane::cocoa
