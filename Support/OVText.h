#pragma once

#include "Platform/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// One character of a text.
struct CodePoint {
    char32_t value;
    std::size_t length; ///< bytes taken, 0 for bytes that are no character
};

/// The character that the bytes, of which there is at least one, begin with in UTF-8: no overlong form, no surrogate,
/// nothing above U+10FFFF.
CodePoint decodeUTF8(std::string_view bytes);

/// Whether the bytes are UTF-8. Where `stringWithUTF8String:` answers nil, this answers false.
bool isValidUTF8(std::string_view bytes);

/// Adds one character, which must be none of a surrogate pair nor above U+10FFFF, as UTF-8.
void appendUTF8(std::string& text, char32_t c);

/// Reads a text whose encoding its byte-order mark tells: UTF-8, UTF-16 or UTF-32; without a mark UTF-8. The result is
/// UTF-8 without the mark. Nothing for bytes that are not such a text: malformed, cut, or half a surrogate pair.
std::optional<std::string> textFromData(std::string_view bytes);

/// `intValue`: leading white space, an optional sign and the leading decimal digits, the rest ignored; 0 without
/// digits, the nearest limit for a number that 32 bits cannot hold.
std::int32_t intValue(std::string_view text);

/// `boolValue`: leading blanks, an optional sign and zeros are skipped; yes when then comes "Y", "y", "T", "t" or a
/// digit from 1 to 9, whatever follows. Of a number: whether it is not 0. No for the other kinds of values.
bool boolValue(std::string_view text);
bool boolValue(const PropertyListValue& value);

/// `lowercaseString` for the names of this system, which are ASCII: other letters stay as they are.
std::string lowercaseString(std::string_view text);

/// `stringByReplacingOccurrencesOfString:withString:`: the text with `replacement` for each occurrence of `part`, found
/// from left to right; what was put in is not looked at again. An empty part is found nowhere.
std::string stringByReplacing(std::string_view part, std::string_view replacement, std::string_view text);

/// `stringWithFormat:` of a format of the program's own: each "%@" is replaced by the next argument, and nothing else
/// is a placeholder. There are as many as arguments.
std::string stringWithFormat(std::string_view format, std::initializer_list<std::string_view> arguments);

/// The text as one word of a line for a shell, as it is where that is safe, else between single quotes.
std::string shellWord(std::string_view text);

/// The text as "%@" shows it: "(null)" for nothing.
std::string textOrNull(const std::optional<std::string>& text);

} // namespace orvane
