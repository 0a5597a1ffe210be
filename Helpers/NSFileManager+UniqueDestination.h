#pragma once

#include "Platform/SystemCalls.h"

#include <string>
#include <string_view>

namespace orvane::UniqueDestination {

/// `findUniqueDestinationForFile:inDirectory:`: the path of something of that name in the folder that is not there yet.
/// When there is one already, even a symbolic link to nothing, a number is put behind the name: "Desktop 2".
///
/// Nothing is made: whoever makes it does so exclusively and asks again when somebody was quicker. A place that cannot
/// be examined (`lstat`) counts as free, so that making it tells why.
std::string findUniqueDestinationForFile(std::string_view name, std::string_view inDirectory,
                                         SystemCalls& calls = SystemCalls::platform());

} // namespace orvane::UniqueDestination
