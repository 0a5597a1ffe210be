#include "Terminal/Json.h"

#include "Support/OVText.h"

#include <algorithm>
#include <fmt/format.h>

namespace orvane::terminal {

namespace {

std::string readable(std::string_view bytes) {
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = decodeUTF8(bytes).length;
        text += length > 0 ? bytes.substr(0, length) : "\xEF\xBF\xBD";
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

int digit(char c) {
    return c >= 'a' ? c - 'a' + 10 : c - '0';
}

} // namespace

void setBytes(Json& object, const std::string& key, std::string_view bytes) {
    object[key] = readable(bytes);
    if (!isValidUTF8(bytes)) {
        std::string hex;
        for (const char byte : bytes) {
            hex += fmt::format("{:02x}", static_cast<unsigned char>(byte));
        }
        object[key + "Hex"] = hex;
    }
}

std::string bytesOf(const Json& object, const std::string& key) {
    const auto found = object.find(key + "Hex");
    if (found == object.end()) {
        return object.value(key, std::string());
    }
    const std::string hex = found->get<std::string>();
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        bytes += static_cast<char>(digit(hex[i]) * 16 + digit(hex[i + 1]));
    }
    return bytes;
}

std::string lineOf(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace orvane::terminal
