#include "Support/OVText.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <random>
#include <string>
#include <vector>

namespace orvane {
namespace {

/// UTF-8 by its definition: decode, then ask whether encoding would have given the same bytes.
bool isValidByDefinition(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size()) {
        const auto byte = [&](std::size_t index) -> std::uint32_t { return static_cast<unsigned char>(text[index]); };
        const std::uint32_t lead = byte(at);
        std::size_t length = 0;
        std::uint32_t value = 0;
        if (lead < 0x80) {
            length = 1;
            value = lead;
        } else if ((lead & 0xE0) == 0xC0) {
            length = 2;
            value = lead & 0x1F;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            value = lead & 0x0F;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            value = lead & 0x07;
        } else {
            return false;
        }
        if (at + length > text.size()) {
            return false;
        }
        for (std::size_t index = 1; index < length; ++index) {
            if ((byte(at + index) & 0xC0) != 0x80) {
                return false;
            }
            value = (value << 6) | (byte(at + index) & 0x3F);
        }
        const std::size_t needed = value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
        if (needed != length || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string encoded(std::uint32_t value) {
    std::string text;
    const auto add = [&](std::uint32_t byte) { text.push_back(static_cast<char>(byte)); };
    if (value < 0x80) {
        add(value);
    } else if (value < 0x800) {
        add(0xC0 | (value >> 6));
        add(0x80 | (value & 0x3F));
    } else if (value < 0x10000) {
        add(0xE0 | (value >> 12));
        add(0x80 | ((value >> 6) & 0x3F));
        add(0x80 | (value & 0x3F));
    } else {
        add(0xF0 | (value >> 18));
        add(0x80 | ((value >> 12) & 0x3F));
        add(0x80 | ((value >> 6) & 0x3F));
        add(0x80 | (value & 0x3F));
    }
    return text;
}

std::string hex(std::string_view text) {
    std::string digits;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        digits += "0123456789abcdef"[byte >> 4];
        digits += "0123456789abcdef"[byte & 15];
    }
    return digits;
}

/// Alone, and at the places of a long text where blocks of 16, 32, 64 and 128 bytes meet or the text ends.
void expectAgreement(const std::string& part) {
    const bool expected = isValidByDefinition(part);
    ASSERT_EQ(isValidUTF8(part), expected) << hex(part);
    static const std::string filler(200, 'x');
    std::string blocks = filler.substr(0, 14) + part;
    blocks.resize(128, 'x');
    ASSERT_EQ(isValidUTF8(blocks), expected) << hex(part);
    for (const std::size_t before : {13U, 14U, 15U, 16U, 29U, 30U, 31U, 32U, 62U, 63U, 125U, 126U, 127U, 128U}) {
        const std::string front = filler.substr(0, before) + part;
        ASSERT_EQ(isValidUTF8(front), expected) << hex(part) << " at the end, after " << before;
        ASSERT_EQ(isValidUTF8(front + filler), expected) << hex(part) << " inside, after " << before;
    }
}

/// One byte of every class that the definition tells apart, both ends of each.
const std::vector<unsigned char>& boundaryBytes() {
    static const std::vector<unsigned char> bytes = {0x00, 0x41, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0,
                                                     0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC, 0xED, 0xEE, 0xEF, 0xF0,
                                                     0xF1, 0xF3, 0xF4, 0xF5, 0xF7, 0xF8, 0xFB, 0xFC, 0xFE, 0xFF};
    return bytes;
}

TEST(UTF8ValidationTest, AcceptsEveryCharacterAndNoSurrogate) {
    for (std::uint32_t value = 0; value <= 0x10FFFF; ++value) {
        const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
        const std::string text = std::string(14, 'x') + encoded(value) + std::string(20, 'y');
        ASSERT_EQ(isValidUTF8(encoded(value)), !surrogate) << value;
        ASSERT_EQ(isValidUTF8(text), !surrogate) << value;
    }
    for (std::uint32_t value = 0x110000; value < 0x200000; value += 0x3F) {
        ASSERT_FALSE(isValidUTF8(encoded(value))) << value;
        ASSERT_FALSE(isValidUTF8(encoded(value) + std::string(40, 'y'))) << value;
    }
}

TEST(UTF8ValidationTest, AgreesWithTheDefinitionOnAllOneAndTwoByteTexts) {
    for (unsigned first = 0; first < 256; ++first) {
        expectAgreement(std::string(1, static_cast<char>(first)));
        for (unsigned second = 0; second < 256; ++second) {
            expectAgreement({static_cast<char>(first), static_cast<char>(second)});
        }
    }
}

TEST(UTF8ValidationTest, AgreesWithTheDefinitionOnAllClassesOfThreeAndFourBytes) {
    for (const unsigned char first : boundaryBytes()) {
        for (const unsigned char second : boundaryBytes()) {
            for (const unsigned char third : boundaryBytes()) {
                const std::string three = {static_cast<char>(first), static_cast<char>(second),
                                           static_cast<char>(third)};
                expectAgreement(three);
                for (const unsigned char fourth : boundaryBytes()) {
                    const std::string four = three + static_cast<char>(fourth);
                    const bool expected = isValidByDefinition(four);
                    const std::string blocks = std::string(14, 'x') + four + std::string(14, 'x');
                    ASSERT_EQ(isValidUTF8(blocks), expected) << hex(four);
                    ASSERT_EQ(isValidUTF8(four), expected) << hex(four);
                    ASSERT_EQ(isValidUTF8(std::string(30, 'x') + four + std::string(40, 'y')), expected) << hex(four);
                    ASSERT_EQ(isValidUTF8(std::string(29, 'x') + four), expected) << hex(four);
                }
            }
        }
    }
}

TEST(UTF8ValidationTest, AgreesWithTheDefinitionOnLongTextsCutAndDamagedAnywhere) {
    std::mt19937 random(20101);
    for (int round = 0; round < 40; ++round) {
        std::string text;
        while (text.size() < 300) {
            static const std::uint32_t limits[] = {0x80, 0x800, 0xD800, 0x110000};
            const std::uint32_t limit = limits[random() % 4];
            const auto value = static_cast<std::uint32_t>(random() % limit);
            text += value >= 0xD800 && value <= 0xDFFF ? "?" : encoded(value);
            if (random() % 20 == 0) {
                text.append(random() % 140, 'a');
            }
        }
        ASSERT_TRUE(isValidByDefinition(text));
        for (std::size_t size = 0; size <= text.size(); ++size) {
            const std::string_view cut = std::string_view(text).substr(0, size);
            ASSERT_EQ(isValidUTF8(cut), isValidByDefinition(cut)) << hex(cut);
            const std::string_view rest = std::string_view(text).substr(size);
            ASSERT_EQ(isValidUTF8(rest), isValidByDefinition(rest)) << hex(rest);
        }
        for (std::size_t at = 0; at < text.size(); ++at) {
            std::string damaged = text;
            damaged[at] = static_cast<char>(boundaryBytes()[random() % boundaryBytes().size()]);
            ASSERT_EQ(isValidUTF8(damaged), isValidByDefinition(damaged)) << hex(damaged);
        }
    }
}

TEST(UTF8ValidationTest, LooksAtNothingBeyondTheText) {
    for (std::size_t size = 0; size <= 200; ++size) {
        // A block of its own size, so that a checked build sees a read past its end.
        std::vector<char> text(size, 'a');
        EXPECT_TRUE(isValidUTF8(std::string_view(text.data(), size)));
    }
}

} // namespace
} // namespace orvane
