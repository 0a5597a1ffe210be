#pragma once

#import <Foundation/Foundation.h>

namespace orvane::cocoa {

// Through these two an object stays the object that it is. An exception ends in them and is logged.

/// The object for the key in the persistent domain of that name, autoreleased; nil without the domain or the key.
id objectInDomain(NSUserDefaults* defaults, NSString* key, NSString* domain);

/// Sets the one key in a copy of the domain, or in a new one, and stores that. All other objects of the domain, which
/// is another program's, stay the objects they were, also of kinds that `PropertyListValue` does not know. What no
/// property list holds is logged and not stored.
void setObjectInDomain(NSUserDefaults* defaults, id object, NSString* key, NSString* domain);

} // namespace orvane::cocoa
