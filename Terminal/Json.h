#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace orvane::terminal {

/// Keys stay in the order in which they were added.
using Json = nlohmann::ordered_json;

/// The version of Documentation/orvane-schema.json that what is written follows.
inline constexpr int kSchemaVersion = 1;

/// Sets `object[key]` to the bytes as text. Bytes that are no UTF-8 become U+FFFD there, and all of them stand in
/// hexadecimal under the key with "Hex" behind it.
void setBytes(Json& object, const std::string& key, std::string_view bytes);

/// The bytes back, from what `setBytes` made.
std::string bytesOf(const Json& object, const std::string& key);

/// The one line.
std::string lineOf(const Json& value);

} // namespace orvane::terminal
