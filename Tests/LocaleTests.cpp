#include "Platform/Locale.h"
#include "Tests/LocaleTestSupport.h"

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

namespace orvane::test {
namespace {

TEST_F(LocaleTest, TheSeparatorIsThatOfTheNamedLocale) {
    EXPECT_EQ(decimalSeparatorOfLocale("C"), ".");
    EXPECT_EQ(decimalSeparatorOfLocale("de_DE.UTF-8"), ",");
    EXPECT_EQ(decimalSeparatorOfLocale("de_DE"), ",") << "ASCII is the same in its charset";
}

TEST_F(LocaleTest, ALocaleThatIsNotInstalledHasAPoint) {
    EXPECT_EQ(decimalSeparatorOfLocale("xx_XX.UTF-8"), ".");
}

TEST_F(LocaleTest, TheEnvironmentNamesTheUsersLocale) {
    const Variable all("LC_ALL", "");
    const Variable language("LANG", "de_DE.UTF-8");
    EXPECT_EQ(decimalSeparatorOfLocale(""), ",");
    const Variable numeric("LC_NUMERIC", "C");
    EXPECT_EQ(decimalSeparatorOfLocale(""), ".");
}

TEST_F(LocaleTest, TheProcesssOwnLocaleStaysAsItIs) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    EXPECT_EQ(decimalSeparatorOfLocale("de_DE.UTF-8"), ",");
    EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

TEST_F(LocaleTest, AProcesssOwnLocaleDoesNotShowInFormattedNumbers) {
    expectNothingOfLocaleInNumbers("de_DE.UTF-8");
}

/// Ends the process, with 0 when the platform's own locale answers as expected. Runs in a child: what it has found out
/// it keeps.
[[noreturn]] void checkPlatformLocale(const std::string& expected) {
    const bool first = Locale::platform().decimalSeparator() == expected;
    ::setenv("LC_ALL", "C", 1);
    const bool kept = Locale::platform().decimalSeparator() == expected;
    const bool shown = ZRBytesValueTransformer::formatBytes(1500) == "1" + expected + "5 KB";
    std::_Exit(first && kept && shown ? 0 : 1);
}

using LocaleDeathTest = LocaleTest;

TEST_F(LocaleDeathTest, ThePlatformsLocaleIsTheUsersAndKept) {
    GTEST_FLAG_SET(death_test_style, "fast");
    const Variable language("LC_ALL", "de_DE.UTF-8");
    EXPECT_EXIT(checkPlatformLocale(","), ::testing::ExitedWithCode(0), "");
}

TEST(DateStringTest, IsTheDayInTheLocalTimeZone) {
    constexpr std::time_t kMoment = 1795215600; // 2026-11-20 23:00 in Greenwich
    {
        const Variable zone("TZ", "UTC0");
        EXPECT_EQ(dateStringOfTime(kMoment), "2026-11-20");
        EXPECT_EQ(dateStringOfTime(0), "1970-01-01");
    }
    {
        const Variable zone("TZ", "CET-1");
        EXPECT_EQ(dateStringOfTime(kMoment), "2026-11-21") << "a change of the time zone counts at once";
    }
}

TEST(DateStringTest, ThePlatformsIsTodays) {
    const std::string before = dateStringOfTime(std::time(nullptr));
    const std::string today = Locale::platform().dateString();
    const std::string after = dateStringOfTime(std::time(nullptr));
    EXPECT_TRUE(today == before || today == after) << today;
    ASSERT_EQ(today.size(), 10U);
    for (std::size_t index = 0; index < today.size(); ++index) {
        EXPECT_TRUE(index == 4 || index == 7 ? today[index] == '-' : std::isdigit(today[index]) != 0) << today;
    }
}

} // namespace
} // namespace orvane::test
