#pragma once

#include "Platform/SystemCalls.h"

#include <string>
#include <string_view>

namespace orvane::UniqueDestination {

/// `findUniqueDestinationForFile:inDirectory:`: the path of something of that name in the folder that is not there yet.
/// When there is one already, a number is put behind the name, before a file's extension: "Report 2.txt". Nothing is
/// made: whoever makes it does so exclusively and asks again when somebody was quicker.
std::string findUniqueDestinationForFile(std::string_view name, std::string_view inDirectory,
                                         SystemCalls& calls = SystemCalls::platform());

} // namespace orvane::UniqueDestination
