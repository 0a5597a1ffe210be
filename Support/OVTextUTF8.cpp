#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace orvane {

namespace {

using Block = unsigned char __attribute__((vector_size(16)));
using SignedBlock = signed char __attribute__((vector_size(16)));

constexpr std::size_t kWidth = sizeof(Block);
/// How far before a byte its character may have begun.
constexpr std::size_t kReach = 3;

/// Whether it is ASCII, and what reaches into it, too.
bool isPlain(const unsigned char* block) {
    std::uint64_t words[3];
    std::memcpy(words, block - kReach, sizeof *words);
    std::memcpy(words + 1, block, kWidth);
    return ((words[0] | words[1] | words[2]) & 0x8080808080808080U) == 0;
}

/// Compares every byte of the blocks with the three before it, which must be there before the first one, too.
bool areWellFormed(const unsigned char* blocks, std::size_t count) {
    Block malformed = {};
    for (const unsigned char* at = blocks; at != blocks + count * kWidth; at += kWidth) {
        if (isPlain(at)) {
            continue;
        }
        Block current;
        Block before1;
        Block before2;
        Block before3;
        std::memcpy(&current, at, kWidth);
        std::memcpy(&before1, at - 1, kWidth);
        std::memcpy(&before2, at - 2, kWidth);
        std::memcpy(&before3, at - 3, kWidth);
        // Continuation bytes are 0x80 to 0xBF, the lowest when taken as signed. They stand behind leading bytes and
        // nowhere else.
        const auto order = reinterpret_cast<const SignedBlock&>(current);
        const auto expected = (before1 >= 0xC0) | (before2 >= 0xE0) | (before3 >= 0xF0);
        const auto continuation = order < static_cast<signed char>(0xC0);
        // The second byte is what tells overlong forms, surrogates and values above U+10FFFF.
        const auto below90 = order < static_cast<signed char>(0x90);
        const auto belowA0 = order < static_cast<signed char>(0xA0);
        const auto wrong = (expected ^ continuation) | ((before1 == 0xE0) & belowA0) | ((before1 == 0xED) & ~belowA0) |
                           ((before1 == 0xF0) & below90) | ((before1 == 0xF4) & ~below90) | (current >= 0xF5) |
                           ((current & 0xFE) == 0xC0);
        malformed |= reinterpret_cast<const Block&>(wrong);
    }
    std::uint64_t halves[2];
    std::memcpy(halves, &malformed, kWidth);
    return (halves[0] | halves[1]) == 0;
}

} // namespace

CodePoint decodeUTF8(std::string_view bytes) {
    constexpr CodePoint kMalformed = {0, 0};
    constexpr std::array<char32_t, 5> kSmallestOfLength = {0, 0, 0x80, 0x800, 0x10000};
    const auto lead = static_cast<unsigned char>(bytes.front());
    if (lead < 0x80) {
        return {lead, 1};
    }
    const auto length = static_cast<std::size_t>(std::countl_one(lead));
    if (length < 2 || length > 4 || bytes.size() < length) {
        return kMalformed;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (const char next : bytes.substr(1, length - 1)) {
        const auto byte = static_cast<unsigned char>(next);
        if ((byte & 0xC0U) != 0x80U) {
            return kMalformed;
        }
        value = (value << 6U) | (byte & 0x3FU);
    }
    const bool isSurrogate = value >= 0xD800 && value <= 0xDFFF;
    const bool isCharacter = value >= kSmallestOfLength.at(length) && value <= 0x10FFFF && !isSurrogate;
    return isCharacter ? CodePoint{value, length} : kMalformed;
}

bool isValidUTF8(std::string_view bytes) {
    // Nothing stands before the first block, and at least one zero behind the last byte, where a cut character shows.
    unsigned char first[kReach + kWidth] = {};
    unsigned char last[kReach + kWidth] = {};
    const auto* const start = reinterpret_cast<const unsigned char*>(bytes.data());
    const std::size_t count = bytes.size() / kWidth;
    const std::size_t rest = bytes.size() % kWidth;
    if (count == 0) {
        std::copy_n(start, rest, last + kReach);
        return areWellFormed(last + kReach, 1);
    }
    std::memcpy(first + kReach, start, kWidth);
    std::memcpy(last, start + bytes.size() - rest - kReach, kReach + rest);
    return areWellFormed(first + kReach, 1) && areWellFormed(start + kWidth, count - 1) &&
           areWellFormed(last + kReach, 1);
}

void appendUTF8(std::string& text, char32_t c) {
    if (c < 0x80) {
        text.push_back(static_cast<char>(c));
        return;
    }
    unsigned left = c < 0x800 ? 1 : (c < 0x10000 ? 2 : 3); // bytes behind the first
    text.push_back(static_cast<char>((0xFF00U >> (left + 1)) | (c >> (6 * left))));
    while (left-- > 0) {
        text.push_back(static_cast<char>(0x80U | ((c >> (6 * left)) & 0x3FU)));
    }
}

} // namespace orvane
