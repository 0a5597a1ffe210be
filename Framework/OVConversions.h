#pragma once

#import "Backends/Cocoa/CocoaSupport.h"

#include "Tasks/OVVolumeDictionary.h"

#include <optional>
#include <string>
#include <vector>

/// Between the objects of the face and the values of the core, beyond what the back ends share. Nil becomes empty where
/// the core knows no nothing.
namespace orvane::face {

using cocoa::stringOf;
using cocoa::stringOfPath;
using cocoa::textOf;

/// The path as the file system spells it.
std::string pathOf(NSString* string);
std::optional<std::string> optionalPathOf(NSString* string);

/// The elements. One that is no string raises `NSInvalidArgumentException`: with fewer words a command would do
/// something else.
std::vector<std::string> textsOf(NSArray* strings);
std::vector<std::string> pathsOf(NSArray* strings);

/// New autoreleased arrays.
NSMutableArray* stringsOf(const std::vector<std::string>& texts);
NSMutableArray* stringsOfPaths(const std::vector<std::string>& paths);

/// A new autoreleased dictionary with the five keys.
NSMutableDictionary* dictionaryOf(const OVVolumeDictionary& volume);

} // namespace orvane::face
