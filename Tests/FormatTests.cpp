#include "Support/OVFormat.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <string_view>

namespace orvane {
namespace {

using Text = std::optional<std::string>;

Text filledWithInteger(std::string_view format, std::int32_t value) {
    return localizedStringWithFormat(format, value);
}

Text filledWithFloating(std::string_view format, double value, std::string_view separator = ".") {
    return localizedStringWithFormat(format, value, separator);
}

TEST(FormatTest, PutsATextInThePlaceOfItsOneConversion) {
    EXPECT_EQ(stringWithFormat("Desktop from %@", "2026-11-20"), "Desktop from 2026-11-20");
    EXPECT_EQ(stringWithFormat("%@ of memory freed", "1.5 MB"), "1.5 MB of memory freed");
    EXPECT_EQ(stringWithFormat("%1$@ frei", "1"), "1 frei");
    EXPECT_EQ(stringWithFormat("%@", ""), "");
}

TEST(FormatTest, AnArgumentsOwnPercentSignsStandForThemselves) {
    EXPECT_EQ(stringWithFormat("from %@!", "%@ 100% %n"), "from %@ 100% %n!");
}

TEST(FormatTest, TwoPercentSignsAreOne) {
    EXPECT_EQ(stringWithFormat("100%% of %@%%", "it"), "100% of it%");
    EXPECT_EQ(filledWithInteger("%%%i%%", 7), "%7%");
    EXPECT_EQ(filledWithFloating("%%%.1f%%", 0.5, ","), "%0,5%");
}

TEST(FormatTest, ATranslationMayLeaveTheValueOutOrRepeatItByPosition) {
    EXPECT_EQ(filledWithInteger("ein Byte", 1), "ein Byte");
    EXPECT_EQ(stringWithFormat("", "x"), "");
    EXPECT_EQ(filledWithInteger("%1$i (%1$i)", 4), "4 (4)");
}

TEST(FormatTest, AskingForASecondValueIsUnusable) {
    EXPECT_EQ(stringWithFormat("%@ %@", "x"), std::nullopt);
    EXPECT_EQ(stringWithFormat("%2$@", "x"), std::nullopt);
    EXPECT_EQ(stringWithFormat("%1$@ %@", "x"), std::nullopt);
    EXPECT_EQ(stringWithFormat("%11$@", "x"), std::nullopt);
    EXPECT_EQ(filledWithInteger("%i of %i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%*i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%.*i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%1$*1$i", 1), std::nullopt);
}

TEST(FormatTest, AskingForAnotherKindOfValueIsUnusable) {
    for (const std::string_view format :
         {"%s", "%n", "%p", "%c", "%x", "%f", "%ld", "%S", "%C", "%m", "%y", "%10@", "%-@", "%.2@", "%l@", "% ", "%"}) {
        EXPECT_EQ(stringWithFormat(format, "x"), std::nullopt) << format;
    }
    for (const std::string_view format : {"%s", "%n", "%@", "%f", "%g", "%a", "%x", "%o", "%c", "%p", "%hhn"}) {
        EXPECT_EQ(filledWithInteger(format, 1), std::nullopt) << format;
    }
    for (const std::string_view format : {"%s", "%n", "%@", "%d", "%i", "%u", "%a", "%ln", "%c"}) {
        EXPECT_EQ(filledWithFloating(format, 1), std::nullopt) << format;
    }
}

TEST(FormatTest, AFormatCutOffInAConversionIsUnusable) {
    for (const std::string_view format : {"%", "x %", "%1", "%1$", "%-", "%5.", "%.1", "%l", "%%%"}) {
        EXPECT_EQ(filledWithInteger(format, 1), std::nullopt) << format;
        EXPECT_EQ(filledWithFloating(format, 1), std::nullopt) << format;
    }
}

TEST(FormatTest, AWidthOrPrecisionBeyondAllUseIsUnusable) {
    EXPECT_EQ(filledWithInteger("%99i", 1), std::string(98, ' ') + "1");
    EXPECT_EQ(filledWithInteger("%100i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%.100i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%99999999999999999999i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%+++++++i", 1), std::nullopt);
    EXPECT_EQ(filledWithInteger("%00000000000000000000000000000000000000001i", 1), std::nullopt);
}

TEST(FormatTest, IntegersAreWrittenAsPrintfDoes) {
    EXPECT_EQ(filledWithInteger("%i", 0), "0");
    EXPECT_EQ(filledWithInteger("%d", -5), "-5");
    EXPECT_EQ(filledWithInteger("%d", std::numeric_limits<std::int32_t>::min()), "-2147483648");
    EXPECT_EQ(filledWithInteger("%u", -1), "4294967295");
    EXPECT_EQ(filledWithInteger("[%5d]", 42), "[   42]");
    EXPECT_EQ(filledWithInteger("[%-5d]", 42), "[42   ]");
    EXPECT_EQ(filledWithInteger("[%05d]", 42), "[00042]");
    EXPECT_EQ(filledWithInteger("[%+.4i]", 42), "[+0042]");
    EXPECT_EQ(filledWithInteger("[% i]", 42), "[ 42]");
}

TEST(FormatTest, LengthModifiersDoNotChangeWhatIsRead) {
    for (const std::string_view format : {"%hhd", "%hd", "%ld", "%lld", "%qd", "%jd", "%zd", "%td", "%lu", "%1$lli"}) {
        EXPECT_EQ(filledWithInteger(format, 70000), "70000") << format;
    }
    EXPECT_EQ(filledWithFloating("%.1lf %%", 2), "2.0 %");
    EXPECT_EQ(filledWithFloating("%.1Lf", 2), "2.0");
}

TEST(FormatTest, TheFlagThatGroupsDigitsIsPassedOver) {
    EXPECT_EQ(filledWithInteger("%'d", 1234567), "1234567");
    EXPECT_EQ(filledWithFloating("%'.1f", 1234567), "1234567.0");
}

TEST(FormatTest, TheDecimalSeparatorIsSetInTheNumberAlone) {
    EXPECT_EQ(filledWithFloating("ca. %1.1f Mio. Byte.", 3.25, ","), "ca. 3,2 Mio. Byte.");
    EXPECT_EQ(filledWithFloating("%.2f", -0.125, ","), "-0,12");
    EXPECT_EQ(filledWithFloating("%8.1f|", 3.5, ","), "     3,5|");
    EXPECT_EQ(filledWithFloating("%-8.1f|", 3.5, ","), "3,5     |");
    EXPECT_EQ(filledWithFloating("%+.1f", 3.5, "\u066B"), "+3\u066B5");
    EXPECT_EQ(filledWithFloating("%1$.1f = %1$.3f", 0.5, ","), "0,5 = 0,500");
}

TEST(FormatTest, EachFloatingConversionIsWrittenAsPrintfDoes) {
    EXPECT_EQ(filledWithFloating("%F", 0.5, ","), "0,500000");
    EXPECT_EQ(filledWithFloating("%.2e", 12345.0, ","), "1,23e+04");
    EXPECT_EQ(filledWithFloating("%.0e", 10000.0, ","), "1e+04");
    EXPECT_EQ(filledWithFloating("%.2E", 12345.0, ","), "1,23E+04");
    EXPECT_EQ(filledWithFloating("%g", 0.5, ","), "0,5");
    EXPECT_EQ(filledWithFloating("%G", 1e-10, ","), "1E-10");
    EXPECT_EQ(filledWithFloating("%.0f", 2.5, ","), "2");
    EXPECT_EQ(filledWithFloating("%#.0f.", 3.0, ","), "3,.");
    EXPECT_EQ(filledWithFloating("%#-5.0f.", 3.0, ","), "3,   .");
}

TEST(FormatTest, NumbersWithoutDecimalsHaveNoSeparator) {
    EXPECT_EQ(filledWithFloating("%.1f", std::numeric_limits<double>::infinity(), ","), "inf");
    EXPECT_EQ(filledWithFloating("%.1F", -std::numeric_limits<double>::infinity(), ","), "-INF");
    EXPECT_EQ(filledWithFloating("%g", 3, ","), "3");
}

TEST(FormatTest, TheLargestNumberWithTheLargestPrecisionFits) {
    const double largest = std::numeric_limits<double>::max();
    std::array<char, 1024> expected = {};
    ASSERT_GT(std::snprintf(expected.data(), expected.size(), "%+.99f", -largest), 400);
    EXPECT_EQ(filledWithFloating("%+.99f", -largest), expected.data());
}

// The quick way against printf.

std::string printed(float value) {
    std::array<char, 512> room = {};
    static_cast<void>(std::snprintf(room.data(), room.size(), "%1.1f", static_cast<double>(value)));
    return room.data();
}

std::string quick(float value) {
    std::string text;
    appendTenths(text, static_cast<double>(value), ".");
    return text;
}

TEST(TenthsTest, EdgesAreWrittenAsPrintfDoes) {
    using Limits = std::numeric_limits<float>;
    for (const float value : {0.0F,
                              -0.0F,
                              0.05F,
                              0.049999997F,
                              0.25F,
                              0.75F,
                              0.125F,
                              -0.25F,
                              -0.04F,
                              -0.002F,
                              0.95F,
                              9.95F,
                              99.95F,
                              999.95F,
                              999.95001F,
                              1023.9999F,
                              1023.95F,
                              1023.949F,
                              1024.0F,
                              1000.0F,
                              16777215.0F,
                              16777216.0F,
                              18446744.0F,
                              1.8446744e19F,
                              9.9999998e13F,
                              1e14F,
                              1.0000001e14F,
                              1e15F,
                              1e20F,
                              Limits::max(),
                              Limits::lowest(),
                              Limits::min(),
                              Limits::denorm_min(),
                              -Limits::denorm_min(),
                              Limits::infinity(),
                              -Limits::infinity(),
                              Limits::quiet_NaN()}) {
        EXPECT_EQ(quick(value), printed(value));
    }
}

TEST(TenthsTest, EveryTieIsRoundedToTheEvenTenth) {
    for (int quarters = -40000; quarters <= 40000; ++quarters) {
        const float value = static_cast<float>(quarters) / 4;
        ASSERT_EQ(quick(value), printed(value));
    }
}

TEST(TenthsTest, AMillionFloatsAreWrittenAsPrintfDoes) {
    std::mt19937 bits(20261120); // NOLINT(cert-msc51-cpp): the same ones each time
    for (int round = 0; round < 1000000; ++round) {
        // Half of them of any size, half of the sizes that are shown.
        const auto pattern = static_cast<std::uint32_t>(bits());
        float value = 0;
        static_assert(sizeof value == sizeof pattern);
        if (round % 2 == 0) {
            std::memcpy(&value, &pattern, sizeof value);
        } else {
            value = static_cast<float>(pattern) / 4194304.0F;
        }
        ASSERT_EQ(quick(value), printed(value)) << "bits " << pattern;
    }
}

TEST(TenthsTest, TheSeparatorIsTheGivenOneAtEverySize) {
    for (const float value : {1.5F, 1e20F}) {
        std::string text = "x";
        appendTenths(text, static_cast<double>(value), ",");
        std::string expected = "x" + printed(value);
        expected[expected.size() - 2] = ',';
        EXPECT_EQ(text, expected);
    }
}

} // namespace
} // namespace orvane
