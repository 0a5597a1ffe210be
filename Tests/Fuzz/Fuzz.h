#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <string_view>

// What a target says of its input, a condition that holds for every input: where it does not, the run ends there and
// the input is kept.
#define FUZZ_CHECK(condition)                                                                                          \
    ((condition) ? static_cast<void>(0)                                                                                \
                 : (std::fprintf(stderr, "%s:%d: not true: %s\n", __FILE__, __LINE__, #condition), __builtin_trap()))

namespace orvane::fuzz {

inline std::string_view bytes(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// UTF-8 by its definition, from the encoder's side: a text is what some characters are written as.
inline std::string encoded(char32_t c) {
    const auto byte = [](char32_t value) { return static_cast<char>(value); };
    if (c < 0x80) {
        return {byte(c)};
    }
    if (c < 0x800) {
        return {byte(0xC0U | c >> 6U), byte(0x80U | (c & 0x3FU))};
    }
    if (c < 0x10000) {
        return {byte(0xE0U | c >> 12U), byte(0x80U | (c >> 6U & 0x3FU)), byte(0x80U | (c & 0x3FU))};
    }
    return {byte(0xF0U | c >> 18U), byte(0x80U | (c >> 12U & 0x3FU)), byte(0x80U | (c >> 6U & 0x3FU)),
            byte(0x80U | (c & 0x3FU))};
}

/// The length of the character at the beginning, 0 for none: reads as many bytes as the first announces and asks
/// whether the encoder would have written them.
inline std::size_t characterLength(std::string_view text) {
    const auto at = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned lead = at(0);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    if (length == 0 || length > text.size()) {
        return 0;
    }
    char32_t value = length == 1 ? lead : lead & (0x7FU >> length);
    for (std::size_t index = 1; index < length; ++index) {
        value = value << 6U | (at(index) & 0x3FU);
    }
    const bool isCharacter = value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return isCharacter && encoded(value) == text.substr(0, length) ? length : 0;
}

inline bool isText(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

} // namespace orvane::fuzz
