#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace orvane {

/// Whether the bytes are UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF. Where
/// `stringWithUTF8String:` answers nil, this answers false.
bool isValidUTF8(std::string_view bytes);

/// `intValue`: leading white space, an optional sign and the leading decimal digits, the rest ignored; 0
/// without digits, the nearest limit for a number that 32 bits cannot hold.
std::int32_t intValue(std::string_view text);

/// `stringByReplacingOccurrencesOfString:withString:` with "": the text without any occurrence of `part`,
/// found from left to right. An empty part is found nowhere.
std::string stringByRemoving(std::string_view part, std::string_view text);

} // namespace orvane
