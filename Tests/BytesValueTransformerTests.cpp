#include "Support/OVNumber.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tests/Fakes/FakeServices.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orvane::test {
namespace {

constexpr bool kHas64Bits = sizeof(NSUInteger) == 8;

OVNumber number(std::uint64_t value) {
    return OVNumber::numberWithUnsignedLongLong(value);
}

/// Any other thing that answers the two questions.
struct OtherNumber {
    [[nodiscard]] NSUInteger unsignedIntegerValue() const { return word; }
    [[nodiscard]] float floatValue() const { return floating; }

    NSUInteger word;
    float floating;
};

/// Notes what is looked up.
class WatchedBundle final : public Bundle {
  public:
    std::optional<std::string> bundleIdentifier() override { return std::nullopt; }
    std::optional<std::string> pathForResource(std::string_view /*name*/, std::string_view /*ofType*/) override {
        return std::nullopt;
    }
    std::string localizedString(std::string_view key) override {
        keys.emplace_back(key);
        return std::string(key);
    }

    std::vector<std::string> keys;
};

class BytesValueTransformerTest : public ::testing::Test {
  protected:
    BytesValueTransformerTest() { gestalt_.become(10, 6, 8); }

    std::string shown(std::uint64_t count, std::int32_t mode) {
        transformer_.setMode(mode);
        return transformer_.transformedValue(number(count));
    }
    std::string decimal(std::uint64_t count) { return shown(count, 2); }
    std::string binary(std::uint64_t count) { return shown(count, 1); }

    FakeBundle bundle_;
    FakeLocale locale_;
    FakeGestalt gestalt_;
    ZRBytesValueTransformer transformer_{bundle_, locale_, gestalt_};
};

TEST_F(BytesValueTransformerTest, BeginsWithModeZeroAndGoesOneWayOnly) {
    EXPECT_EQ(transformer_.mode(), 0);
    EXPECT_FALSE(ZRBytesValueTransformer::allowsReverseTransformation());
    // The class of what comes out.
    static_assert(std::is_same_v<decltype(transformer_.transformedValue(number(1))), std::string>);
}

TEST_F(BytesValueTransformerTest, NothingGivesNothing) {
    EXPECT_EQ(transformer_.transformedValue(std::optional<OVNumber>()), std::nullopt);
    EXPECT_EQ(transformer_.transformedValue(std::optional(number(2))), "2 bytes");
}

TEST_F(BytesValueTransformerTest, BelowOneKiloCountsBytes) {
    for (const std::int32_t mode : {0, 1, 2}) {
        EXPECT_EQ(shown(0, mode), "0 bytes");
        EXPECT_EQ(shown(1, mode), "1 byte");
        EXPECT_EQ(shown(2, mode), "2 bytes");
        EXPECT_EQ(shown(512, mode), "512 bytes");
        EXPECT_EQ(shown(999, mode), "999 bytes");
    }
}

TEST_F(BytesValueTransformerTest, WithKilo1000) {
    EXPECT_EQ(decimal(1000), "1.0 KB");
    EXPECT_EQ(decimal(1023), "1.0 KB");
    EXPECT_EQ(decimal(1050), "1.0 KB") << "1.05 in single precision is a little less";
    EXPECT_EQ(decimal(1250), "1.2 KB") << "a tie goes to the even tenth";
    EXPECT_EQ(decimal(1750), "1.8 KB");
    EXPECT_EQ(decimal(999999), "1000.0 KB");
    EXPECT_EQ(decimal(1000000), "1.0 MB");
    EXPECT_EQ(decimal(1500000), "1.5 MB");
    EXPECT_EQ(decimal(3400000), "3.4 MB");
    EXPECT_EQ(decimal(1000000000), "1.0 GB");
}

TEST_F(BytesValueTransformerTest, WithKilo1024) {
    EXPECT_EQ(binary(1000), "1000 bytes");
    EXPECT_EQ(binary(1023), "1023 bytes");
    EXPECT_EQ(binary(1024), "1.0 KB");
    EXPECT_EQ(binary(1048575), "1024.0 KB") << "below the next unit, rounded only when printed";
    EXPECT_EQ(binary(1048576), "1.0 MB");
    EXPECT_EQ(binary(1073741824), "1.0 GB");
}

TEST_F(BytesValueTransformerTest, TheDigitsAreTheUsers) {
    locale_.zero = "\u0660";
    locale_.separator = "\u066B";
    EXPECT_EQ(decimal(0), "\u0660 bytes");
    EXPECT_EQ(decimal(1), "\u0661 byte");
    EXPECT_EQ(decimal(789), "\u0667\u0668\u0669 bytes");
    EXPECT_EQ(decimal(23400000), "\u0662\u0663\u066B\u0664 MB");
    bundle_.table = {{"%i bytes", "%1$i of 7 bytes"}, {"%1.1f MB", "7 times %.2f MB"}, {"%i byte", "1 x %u"}};
    EXPECT_EQ(decimal(65), "\u0666\u0665 of 7 bytes") << "not those of the text around it";
    EXPECT_EQ(decimal(1500000), "7 times \u0661\u066B\u0665\u0660 MB");
    EXPECT_EQ(decimal(1), "1 x \u0661");
}

TEST_F(BytesValueTransformerTest, LargeCountsStayInTB) {
    if constexpr (kHas64Bits) {
        EXPECT_EQ(decimal(1000000000000ULL), "1.0 TB");
        EXPECT_EQ(decimal(1000000000000000ULL), "1000.0 TB");
        EXPECT_EQ(decimal(2500000000000000000ULL), "2500000.0 TB");
        EXPECT_EQ(decimal(18446744073709551614ULL), "18446744.0 TB");
        EXPECT_EQ(binary(1099511627776ULL), "1.0 TB");
        EXPECT_EQ(binary(18446744073709551614ULL), "16777216.0 TB");
    } else {
        EXPECT_EQ(transformer_.transformedValue(OtherNumber{5000, 1e15F}), "1000.0 TB");
        EXPECT_EQ(transformer_.transformedValue(OtherNumber{5000, 2.5e18F}), "2500000.0 TB");
    }
}

TEST_F(BytesValueTransformerTest, TheQuotientIsInSinglePrecision) {
    // Exactly computed, these lie on the other side of the tie.
    EXPECT_EQ(decimal(100450000), "100.4 MB") << "in double precision 100.5";
    EXPECT_EQ(decimal(100550000), "100.6 MB") << "in double precision 100.5";
    EXPECT_EQ(decimal(134250001), "134.2 MB") << "134.250001, which would be 134.3";
    EXPECT_EQ(decimal(999949999), "1000.0 MB") << "999.949999, which would be 999.9";
    std::array<char, 32> exactly = {};
    static_cast<void>(std::snprintf(exactly.data(), exactly.size(), "%1.1f MB", 134250001 / 1e6));
    EXPECT_STREQ(exactly.data(), "134.3 MB");
}

TEST_F(BytesValueTransformerTest, TheCountIsRoundedToSinglePrecisionOnce) {
    // By way of double precision these would become the floats below. Their low 32 bits are those of 1.
    transformer_.setMode(1);
    EXPECT_EQ(transformer_.transformedValue(OtherNumber{5000, number(113073058540945409ULL).floatValue()}),
              "102839.4 TB");
    transformer_.setMode(2);
    EXPECT_EQ(transformer_.transformedValue(OtherNumber{5000, number(3394766477453164545ULL).floatValue()}),
              "3394766.5 TB");
    if constexpr (kHas64Bits) {
        EXPECT_EQ(binary(113073058540945409ULL), "102839.4 TB");
        EXPECT_EQ(decimal(3394766477453164545ULL), "3394766.5 TB");
    }
}

/// The same steps, each forced into single precision, with printf at the end.
std::string byTheSteps(std::uint64_t count, float kilo) {
    volatile float value = static_cast<float>(count);
    const char* unit = "TB";
    for (const char* candidate : {"KB", "MB", "GB"}) {
        value = value / kilo;
        if (value < kilo) {
            unit = candidate;
            break;
        }
    }
    if (std::string(unit) == "TB") {
        value = value / kilo;
    }
    std::array<char, 64> text = {};
    static_cast<void>(std::snprintf(text.data(), text.size(), "%1.1f %s", static_cast<double>(value), unit));
    return text.data();
}

TEST_F(BytesValueTransformerTest, CountsOfEverySizeShowWhatTheStepsGive) {
    std::uint64_t count = 1024;
    int shownCounts = 0;
    while (count < ZRBytesValueTransformerCalculatingSize / 2) {
        ASSERT_EQ(decimal(count), byTheSteps(count, 1000)) << count;
        ASSERT_EQ(binary(count), byTheSteps(count, 1024)) << count;
        count += count / 997 + 1;
        ++shownCounts;
    }
    EXPECT_GT(shownCounts, 10000);
}

TEST_F(BytesValueTransformerTest, AllBitsSetIsASizeNotYetKnown) {
    EXPECT_EQ(ZRBytesValueTransformerCalculatingSize, std::numeric_limits<NSUInteger>::max());
    for (const std::int32_t mode : {0, 1, 2}) {
        EXPECT_EQ(shown(ZRBytesValueTransformerCalculatingSize, mode), "Calculating size...");
    }
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(-1)), "Calculating size...");
    EXPECT_EQ(transformer_.transformedValue(number(std::numeric_limits<std::uint64_t>::max())), "Calculating size...");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(std::numeric_limits<std::uint64_t>::max(), bundle_, locale_),
              "Calculating size...");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(ZRBytesValueTransformerCalculatingSize, bundle_, locale_),
              "Calculating size...");
}

TEST_F(BytesValueTransformerTest, TheMachineWordDecidesWhatALargeCountIs) {
    constexpr std::uint64_t kFourGiB = std::uint64_t{1} << 32U;
    EXPECT_EQ(binary(kFourGiB), kHas64Bits ? "4.0 GB" : "0 bytes");
    EXPECT_EQ(binary(kFourGiB + 1), kHas64Bits ? "4.0 GB" : "1 byte");
    EXPECT_EQ(binary(kFourGiB - 1), kHas64Bits ? "4.0 GB" : "Calculating size...");
    EXPECT_EQ(binary(kFourGiB + 2048), "4.0 GB") << "the number itself is shown, not its word";
}

TEST_F(BytesValueTransformerTest, ANegativeDifferenceIsShownSomehow) {
    transformer_.setMode(2);
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(-2)), "-0.0 KB");
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(-5000000)), "-5000.0 KB");
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(std::numeric_limits<std::int64_t>::min())),
              kHas64Bits ? "-9223372474941440.0 KB" : "0 bytes");
}

TEST_F(BytesValueTransformerTest, ANumbersTwoAnswersAreTakenAsTheyAre) {
    transformer_.setMode(2);
    EXPECT_EQ(transformer_.transformedValue(OtherNumber{1, 5e6F}), "1 byte");
    EXPECT_EQ(transformer_.transformedValue(OtherNumber{2000, 0.0F}), "0.0 KB");
    EXPECT_EQ(transformer_.transformedValue(OtherNumber{2000, std::numeric_limits<float>::infinity()}), "inf TB");
}

TEST_F(BytesValueTransformerTest, FormatBytesUsesKilo1000WhateverTheSystem) {
    const auto format = [&](std::uint64_t bytes) {
        return ZRBytesValueTransformer::formatBytes(bytes, bundle_, locale_);
    };
    EXPECT_EQ(format(0), "0 bytes");
    EXPECT_EQ(format(1), "1 byte");
    EXPECT_EQ(format(999), "999 bytes");
    EXPECT_EQ(format(1000), "1.0 KB");
    EXPECT_EQ(format(1500000), "1.5 MB");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1023), "1" + Locale::platform().decimalSeparator() + "0 KB");
}

TEST_F(BytesValueTransformerTest, ModesOneAndTwoAskNothingOfTheSystem) {
    transformer_.setMode(1);
    EXPECT_EQ(transformer_.kilobyteSize(), 1024U);
    transformer_.setMode(2);
    EXPECT_EQ(transformer_.kilobyteSize(), 1000U);
    EXPECT_TRUE(gestalt_.asked.empty());
}

TEST_F(BytesValueTransformerTest, AnyOtherModeFollowsTheSystem) {
    for (const std::int32_t mode : {0, 3, -1, std::numeric_limits<std::int32_t>::min(), 1000, 1024}) {
        transformer_.setMode(mode);
        EXPECT_EQ(transformer_.mode(), mode);
        gestalt_.become(10, 5, 8);
        EXPECT_EQ(transformer_.kilobyteSize(), 1024U) << mode;
        gestalt_.become(10, 6, 0);
        EXPECT_EQ(transformer_.kilobyteSize(), 1000U) << mode << ", found anew by each call";
        gestalt_.become(11, 0, 0);
        EXPECT_EQ(transformer_.kilobyteSize(), 1024U) << mode;
    }
}

TEST_F(BytesValueTransformerTest, TheSystemsKiloShowsInTheText) {
    gestalt_.become(10, 6, 8);
    EXPECT_EQ(shown(1500000, 0), "1.5 MB");
    EXPECT_EQ(shown(1000, 0), "1.0 KB");
    gestalt_.become(10, 5, 8);
    EXPECT_EQ(shown(1500000, 0), "1.4 MB");
    EXPECT_EQ(shown(1000, 0), "1000 bytes");
}

TEST_F(BytesValueTransformerTest, EveryTextIsLookedUpWithTheEnglishOneAsItsKey) {
    WatchedBundle watched;
    ZRBytesValueTransformer transformer(watched, locale_, gestalt_);
    transformer.setMode(2);
    for (const std::uint64_t count : {1ULL, 0ULL, 2000ULL, 2000000ULL, 2000000000ULL}) {
        static_cast<void>(transformer.transformedValue(number(count)));
    }
    static_cast<void>(transformer.transformedValue(OtherNumber{2000, 2e12F}));
    static_cast<void>(transformer.transformedValue(OVNumber::numberWithLongLong(-1)));
    EXPECT_EQ(watched.keys, (std::vector<std::string>{"%i byte", "%i bytes", "%1.1f KB", "%1.1f MB", "%1.1f GB",
                                                      "%1.1f TB", "Calculating size..."}));
}

TEST_F(BytesValueTransformerTest, TranslatedTextsAreFilledIn) {
    bundle_.table = {{"%i byte", "%i Byte"},
                     {"%i bytes", "%i Byte"},
                     {"%1.1f KB", "%.2f KByte"},
                     {"%1.1f MB", "MB: %1$1.1f"},
                     {"Calculating size...", "Die Gr\u00F6\u00DFe wird berechnet \u2026"}};
    locale_.separator = ",";
    EXPECT_EQ(decimal(1), "1 Byte");
    EXPECT_EQ(decimal(0), "0 Byte");
    EXPECT_EQ(decimal(1234), "1,23 KByte");
    EXPECT_EQ(decimal(1500000), "MB: 1,5");
    EXPECT_EQ(decimal(1500000000), "1,5 GB") << "without an entry the key itself, with the user's separator";
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(-1)),
              "Die Gr\u00F6\u00DFe wird berechnet \u2026");
}

TEST_F(BytesValueTransformerTest, AnUnusableTranslationLeavesTheEnglishText) {
    bundle_.table = {{"%i byte", "%s"}, {"%i bytes", "%i %i"}, {"%1.1f KB", "%n"}, {"%1.1f MB", "%@ MB"}};
    locale_.separator = ",";
    EXPECT_EQ(decimal(1), "1 byte");
    EXPECT_EQ(decimal(7), "7 bytes");
    EXPECT_EQ(decimal(1500), "1,5 KB");
    EXPECT_EQ(decimal(1500000), "1,5 MB");
}

TEST_F(BytesValueTransformerTest, TheTextForAnUnknownSizeIsNoFormat) {
    bundle_.table = {{"Calculating size...", "%s %n 100%"}};
    EXPECT_EQ(transformer_.transformedValue(OVNumber::numberWithLongLong(-1)), "%s %n 100%");
}

TEST(NumberTest, UnsignedAndSignedNumbersAnswerWithTheirLowBits) {
    constexpr auto kAll = std::numeric_limits<NSUInteger>::max();
    EXPECT_EQ(OVNumber::numberWithLongLong(-1).unsignedIntegerValue(), kAll);
    EXPECT_EQ(OVNumber::numberWithLongLong(-2).unsignedIntegerValue(), kAll - 1);
    EXPECT_EQ(number(std::numeric_limits<std::uint64_t>::max()).unsignedIntegerValue(), kAll);
    EXPECT_EQ(number(0x100000000ULL).unsignedIntegerValue(), static_cast<NSUInteger>(0x100000000ULL));
    EXPECT_EQ(number(0x100000000ULL).unsignedIntegerValue() == 0, !kHas64Bits);
}

TEST(NumberTest, FloatingNumbersAreCutTowardsZeroAndHeldInTheLimits) {
    EXPECT_EQ(OVNumber::numberWithDouble(2.9).unsignedIntegerValue(), 2U);
    EXPECT_EQ(OVNumber::numberWithDouble(-0.5).unsignedIntegerValue(), 0U);
    EXPECT_EQ(OVNumber::numberWithDouble(-1).unsignedIntegerValue(), 0U);
    EXPECT_EQ(OVNumber::numberWithDouble(4294967296.0 + 7).unsignedIntegerValue(),
              static_cast<NSUInteger>(4294967303ULL));
    EXPECT_EQ(OVNumber::numberWithDouble(18446744073709549568.0).unsignedIntegerValue(),
              static_cast<NSUInteger>(18446744073709549568ULL))
        << "the last below 2^64";
    EXPECT_EQ(OVNumber::numberWithDouble(18446744073709551616.0).unsignedIntegerValue(),
              std::numeric_limits<NSUInteger>::max())
        << "exactly 2^64";
    EXPECT_EQ(OVNumber::numberWithDouble(1e30).unsignedIntegerValue(), std::numeric_limits<NSUInteger>::max());
    EXPECT_EQ(OVNumber::numberWithDouble(std::numeric_limits<double>::infinity()).unsignedIntegerValue(),
              std::numeric_limits<NSUInteger>::max());
    EXPECT_EQ(OVNumber::numberWithDouble(std::numeric_limits<double>::quiet_NaN()).unsignedIntegerValue(), 0U);
}

TEST(NumberTest, TheFloatValueKeepsTheSign) {
    EXPECT_EQ(OVNumber::numberWithLongLong(-2).floatValue(), -2.0F);
    EXPECT_EQ(number(16777217).floatValue(), 16777216.0F);
    EXPECT_EQ(number(113073058540945409ULL).floatValue(), 113073062835912704.0F) << "rounded once";
    EXPECT_EQ(number(3394766477453164545ULL).floatValue(), 3394766614892118016.0F);
    EXPECT_EQ(number(std::numeric_limits<std::uint64_t>::max()).floatValue(), 18446744073709551616.0F);
    EXPECT_EQ(OVNumber::numberWithDouble(0.1).floatValue(), 0.1F);
}

} // namespace
} // namespace orvane::test
