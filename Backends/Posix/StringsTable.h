#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Texts by their keys.
using StringsTable = std::map<std::string, std::string, std::less<>>;

/// Reads the classic format of a ".strings" file: `"key" = "value";`, with the comments of C and the escapes \" \'
/// \\ \n \t \r and \Uxxxx (a UTF-16 unit); words of letters, digits and "_$/:.-" need no quotes, and `"key";` stands
/// for itself. Of two entries with one key the later counts. A table is read whole or not at all: `damage` receives the
/// line where it breaks off being one, and why ("4: a semicolon is missing").
std::optional<StringsTable> readStringsTable(std::string_view text, std::string& damage);

} // namespace orvane
