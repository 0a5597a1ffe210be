#pragma once

#include <cstddef>
#include <string_view>

namespace orvane {

/// One character of a text.
struct CodePoint {
    char32_t value;
    std::size_t length; ///< bytes taken, 0 for bytes that are no character
};

/// The character that the bytes, of which there is at least one, begin with in UTF-8.
inline CodePoint decodeUTF8(std::string_view bytes) {
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

} // namespace orvane
