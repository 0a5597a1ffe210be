#include "Support/OVText.h"

#include "Platform/UTF8Blocks.h"

#include <limits>

namespace orvane {

namespace {

struct CodePoint {
    char32_t value;
    std::size_t length; ///< bytes taken, 0 for bytes that are no character
};

CodePoint decode(std::string_view bytes) {
    constexpr CodePoint kMalformed = {0, 0};
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(bytes[index]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    // The range of the second byte is what excludes overlong forms, surrogates and values above U+10FFFF.
    std::size_t length = 0;
    unsigned char low = 0x80;
    unsigned char high = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        low = lead == 0xE0 ? 0xA0 : low;
        high = lead == 0xED ? 0x9F : high;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        low = lead == 0xF0 ? 0x90 : low;
        high = lead == 0xF4 ? 0x8F : high;
    } else {
        return kMalformed;
    }
    if (bytes.size() < length || byte(1) < low || byte(1) > high) {
        return kMalformed;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t index = 1; index < length; ++index) {
        if ((byte(index) & 0xC0U) != 0x80U) {
            return kMalformed;
        }
        value = (value << 6U) | (byte(index) & 0x3FU);
    }
    return {value, length};
}

bool isWhiteSpace(char32_t c) {
    return (c >= 0x09 && c <= 0x0D) || c == 0x20 || c == 0x85 || c == 0xA0 || c == 0x1680 ||
           (c >= 0x2000 && c <= 0x200A) || c == 0x2028 || c == 0x2029 || c == 0x202F || c == 0x205F || c == 0x3000;
}

} // namespace

bool isValidUTF8(std::string_view bytes) {
    std::size_t done = checkUTF8Blocks(bytes);
    if (done == std::string_view::npos) {
        return false;
    }
    // The blocks may end inside a character: the rest begins with that character's first byte.
    for (std::size_t back = 1; back <= 3 && back <= done; ++back) {
        const auto byte = static_cast<unsigned char>(bytes[done - back]);
        if (byte >= 0xC0) {
            done -= back;
            break;
        }
    }
    bytes.remove_prefix(done);
    while (!bytes.empty()) {
        const CodePoint next = decode(bytes);
        if (next.length == 0) {
            return false;
        }
        bytes.remove_prefix(next.length);
    }
    return true;
}

std::int32_t intValue(std::string_view text) {
    while (!text.empty()) {
        const CodePoint next = decode(text);
        if (next.length == 0 || !isWhiteSpace(next.value)) {
            break;
        }
        text.remove_prefix(next.length);
    }
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    using Limits = std::numeric_limits<std::int32_t>;
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            break;
        }
        value = value * 10 + (c - '0');
        if (value > Limits::max()) {
            return negative ? Limits::min() : Limits::max();
        }
    }
    return static_cast<std::int32_t>(negative ? -value : value);
}

std::string stringByRemoving(std::string_view part, std::string_view text) {
    std::string result;
    std::size_t found = part.empty() ? std::string_view::npos : text.find(part);
    while (found != std::string_view::npos) {
        result.append(text.substr(0, found));
        text.remove_prefix(found + part.size());
        found = text.find(part);
    }
    result.append(text);
    return result;
}

} // namespace orvane
