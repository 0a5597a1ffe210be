#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <variant>

namespace orvane {

/// Texts by their keys.
using StringsTable = std::map<std::string, std::string, std::less<>>;

/// Where a table breaks off being one, and why.
struct StringsTableDamage {
    std::size_t line = 1;
    const char* reason = "";
};

/// Reads the classic format of a ".strings" file: `"key" = "value";`, with the comments of C and the escapes \" \'
/// \\ \n \t \r and \Uxxxx (a UTF-16 unit); words of letters, digits and "_$/:.-" need no quotes, and `"key";` stands
/// for itself. Of two entries with one key the later counts. A table is read whole or not at all.
std::variant<StringsTable, StringsTableDamage> readStringsTable(std::string_view text);

} // namespace orvane
