#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// The texts that stand at the top of an XML property list whose outermost value is a dictionary; values of other kinds
/// are passed over. Nothing for a text that is not, to its end, such a list: cut off, wrongly nested, of another
/// format.
std::optional<std::map<std::string, std::string, std::less<>>> stringsInPropertyList(std::string_view text);

} // namespace orvane
