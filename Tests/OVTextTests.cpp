#include "Support/OVText.h"

#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {
namespace {

TEST(IntValueTest, ReadsLeadingWhiteSpaceSignAndDigits) {
    EXPECT_EQ(intValue("4711"), 4711);
    EXPECT_EQ(intValue(" \t\n\v\f\r42"), 42);
    EXPECT_EQ(intValue("+7"), 7);
    EXPECT_EQ(intValue("-7"), -7);
    EXPECT_EQ(intValue("\xC2\xA0\xE3\x80\x80"
                       "9"),
              9)
        << "no-break and ideographic space";
    for (const std::string blank : {"\xC2\x85", "\xE1\x9A\x80", "\xE2\x80\x80", "\xE2\x80\x8A", "\xE2\x80\xA8",
                                    "\xE2\x80\xA9", "\xE2\x80\xAF", "\xE2\x81\x9F"}) {
        EXPECT_EQ(intValue(blank + "6"), 6) << blank;
    }
    for (const std::string other :
         {"\x08", "\x0E", "\xC2\x84", "\xC2\x86", "\xE2\x80\x8B", "\xE2\x80\xA7", "\xE2\x80\xAA", "\xE3\x80\x81"}) {
        EXPECT_EQ(intValue(other + "6"), 0) << other;
    }
    EXPECT_EQ(intValue("0012"), 12);
}

TEST(IntValueTest, IgnoresWhatFollowsTheDigits) {
    EXPECT_EQ(intValue("12abc"), 12);
    EXPECT_EQ(intValue("12 34"), 12);
    EXPECT_EQ(intValue("3.9"), 3);
    EXPECT_EQ(intValue("0x10"), 0);
}

TEST(IntValueTest, IsZeroWithoutDigits) {
    for (const char* text : {"", " ", "abc", "-", "+", "- 5", "--5", "+-5",
                             "\xFF"
                             "5"}) {
        EXPECT_EQ(intValue(text), 0) << text;
    }
}

TEST(IntValueTest, ClampsAtThe32BitLimits) {
    using Limits = std::numeric_limits<std::int32_t>;
    EXPECT_EQ(intValue("2147483647"), Limits::max());
    EXPECT_EQ(intValue("2147483648"), Limits::max());
    EXPECT_EQ(intValue("-2147483648"), Limits::min());
    EXPECT_EQ(intValue("-2147483649"), Limits::min());
    EXPECT_EQ(intValue("99999999999999999999999999999"), Limits::max());
    EXPECT_EQ(intValue("-99999999999999999999999999999"), Limits::min());
}

TEST(BoolValueTest, SkipsBlanksSignAndZeros) {
    for (const char* yes :
         {"Y", "y", "T", "t", "YES", "true", "yonder", "1", "9", "  7", "\t+3", "-1", "007", "\xC2\xA0yes",
          "\xE3\x80\x80"
          "1",
          "0001 and more"}) {
        EXPECT_TRUE(boolValue(std::string_view(yes))) << yes;
    }
    for (const char* no :
         {"", " ", "0", "000", "-0", "NO", "no", "false", "ON", "on", "x1", "-00x9", "+-1", "\n1", "0.5",
          "\xFF"
          "1",
          "\xC3\xBF"}) {
        EXPECT_FALSE(boolValue(std::string_view(no))) << no;
    }
}

TEST(LowercaseStringTest, LowersTheLettersOfASCII) {
    EXPECT_EQ(lowercaseString("PNG"), "png");
    EXPECT_EQ(lowercaseString("AzZ[@`{19 \xC3\x84"), "azz[@`{19 \xC3\x84");
    EXPECT_EQ(lowercaseString(""), "");
}

TEST(StringByReplacingTest, ReplacesEveryOccurrenceFromLeftToRight) {
    EXPECT_EQ(stringByReplacing("ab", "-", "xabyabz"), "x-y-z");
    EXPECT_EQ(stringByReplacing("aa", "b", "aaaaa"), "bba");
    EXPECT_EQ(stringByReplacing("a", "aa", "aba"), "aabaa") << "what was put in is not looked at again";
    EXPECT_EQ(stringByReplacing("ab", "-", "ba"), "ba");
    EXPECT_EQ(stringByReplacing("", "-", "text"), "text");
}

TEST(TextOrNullTest, ShowsNothingAsNull) {
    EXPECT_EQ(textOrNull("text"), "text");
    EXPECT_EQ(textOrNull(""), "");
    EXPECT_EQ(textOrNull(std::nullopt), "(null)");
}

TEST(StringByRemovingTest, RemovesEveryOccurrenceFromLeftToRight) {
    EXPECT_EQ(stringByReplacing("ab", "", "xabyabz"), "xyz");
    EXPECT_EQ(stringByReplacing("ab", "", "aabb"), "ab") << "what closes up is not looked at again";
    EXPECT_EQ(stringByReplacing("ab", "", "ba"), "ba");
    EXPECT_EQ(stringByReplacing("", "", "text"), "text");
    EXPECT_EQ(stringByReplacing("ab", "", ""), "");
}

TEST(UTF8Test, AcceptsWellFormedText) {
    for (const char* text :
         {"", "plain", "\x7F", "\xC2\x80", "\xDF\xBF", "\xE0\xA0\x80", "\xED\x9F\xBF", "\xEE\x80\x80", "\xEF\xBF\xBF",
          "\xF0\x90\x80\x80", "\xF4\x8F\xBF\xBF", "a long ASCII text, then \xC3\xA4"}) {
        EXPECT_TRUE(isValidUTF8(text)) << text;
    }
}

TEST(UTF8Test, RefusesOverlongFormsSurrogatesAndValuesTooLarge) {
    for (const char* text : {"\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
                             "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFE", "\xFF"}) {
        EXPECT_FALSE(isValidUTF8(text)) << text;
    }
}

TEST(UTF8Test, RefusesCutAndStrayBytesWhereverTheyStand) {
    for (const char* broken : {"\x80", "\xBF", "\xC3", "\xE2\x82", "\xF0\x9F\x98", "\xC3(", "\xE2(\xA1"}) {
        for (std::size_t before = 0; before < 20; ++before) {
            EXPECT_FALSE(isValidUTF8(std::string(before, 'x') + broken)) << before << broken;
        }
        EXPECT_FALSE(isValidUTF8(std::string(broken) + "abcdefghijkl")) << broken;
    }
}

// Euro sign and a grinning face: one unit and two in UTF-16.
constexpr std::string_view kSample = "a\xE2\x82\xAC\xF0\x9F\x98\x80";

TEST(TextFromDataTest, ReadsUTF8WithAndWithoutAMark) {
    EXPECT_EQ(textFromData(""), "");
    EXPECT_EQ(textFromData(kSample), kSample);
    EXPECT_EQ(textFromData("\xEF\xBB\xBF" + std::string(kSample)), kSample);
    EXPECT_EQ(textFromData("a\xEF\xBB\xBF"), "a\xEF\xBB\xBF") << "a mark elsewhere is a character";
}

TEST(TextFromDataTest, ReadsUTF16AndUTF32ByTheirMark) {
    using namespace std::string_view_literals;
    EXPECT_EQ(textFromData("\xFF\xFE"
                           "a\0\xAC\x20\x3D\xD8\x00\xDE"sv),
              kSample);
    EXPECT_EQ(textFromData("\xFE\xFF"
                           "\0a\x20\xAC\xD8\x3D\xDE\x00"sv),
              kSample);
    EXPECT_EQ(textFromData("\xFF\xFE\0\0"
                           "a\0\0\0\xAC\x20\0\0\x00\xF6\x01\0"sv),
              kSample);
    EXPECT_EQ(textFromData("\0\0\xFE\xFF"
                           "\0\0\0a\0\0\x20\xAC\0\x01\xF6\x00"sv),
              kSample);
    EXPECT_EQ(textFromData("\xFF\xFE"sv), "");
    EXPECT_EQ(textFromData("\0\0\xFE\xFF"sv), "");
}

TEST(TextFromDataTest, WritesEachLengthOfUTF8) {
    using namespace std::string_view_literals;
    EXPECT_EQ(textFromData("\xFE\xFF\0\x7F\0\x80\x07\xFF\x08\x00\xFF\xFF\xD8\x00\xDC\x00\xDB\xFF\xDF\xFF"sv),
              "\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(TextFromDataTest, RefusesWhatIsNoText) {
    using namespace std::string_view_literals;
    for (const std::string_view bytes : {
             "\xFF"sv, "caf\xE9"sv, "\xEF\xBB\xBF\xFF"sv,
             "\xFF\xFE\x41"sv,             // half a unit
             "\xFE\xFF\xD8\x00"sv,         // half a pair at the end
             "\xFE\xFF\xD8\x00\x00\x41"sv, // half a pair before a letter
             "\xFE\xFF\xDC\x00\x00\x41"sv, // the second half alone
             "\xFE\xFF\xD8\x00\xD8\x00"sv, // two first halves
             "\0\0\xFE\xFF\0\0\xD8\0"sv,   // a surrogate in UTF-32
             "\0\0\xFE\xFF\0\x11\0\0"sv,   // above the last character
             "\xFF\xFE\0\0\x41\0\0"sv,     // cut
         }) {
        EXPECT_EQ(textFromData(bytes), std::nullopt) << bytes;
    }
}

TEST(StringWithFormatTest, FillsThePlaceholdersInOrderAndLeavesTheRest) {
    EXPECT_EQ(stringWithFormat("%@; %@; %@", {"a", "%@", "c"}), "a; %@; c") << "what was put in is not looked at again";
    EXPECT_EQ(stringWithFormat("100% %d $p \\%@", {""}), "100% %d $p \\");
    EXPECT_EQ(stringWithFormat("none", {}), "none");
}

TEST(StringWithFormatDeathTest, AFormatAndItsArgumentsAreOfOneNumber) {
    EXPECT_EXIT(stringWithFormat("%@ %@", {"a"}), ::testing::KilledBySignal(SIGABRT), "Assertion failed");
    EXPECT_EXIT(stringWithFormat("%@", {"a", "b"}), ::testing::KilledBySignal(SIGABRT), "Assertion failed");
}

} // namespace
} // namespace orvane
