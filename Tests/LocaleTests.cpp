#include "Backends/Posix/PosixLocale.h"
#include "Platform/Locale.h"
#include "Support/OVFormat.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tests/Fakes/FakeServices.h"

#include <cctype>
#include <clocale>
#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <string>

// The C library forgets its copy of LOCPATH, which only tests set.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier): the sanitizer's name
    return "leak:argz_add_sep";
}

namespace orvane::test {
namespace {

/// A variable of the environment while the object lives.
class Variable {
  public:
    Variable(const char* name, const std::string& value) : name_(name) {
        const char* const before = std::getenv(name);
        had_ = before != nullptr;
        before_ = had_ ? before : "";
        ::setenv(name, value.c_str(), 1);
    }
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;
    ~Variable() {
        if (had_) {
            ::setenv(name_, before_.c_str(), 1);
        } else {
            ::unsetenv(name_);
        }
    }

  private:
    const char* name_;
    bool had_;
    std::string before_;
};

/// With the locales that the build has made, so that nothing depends on those that the machine has.
class LocaleTest : public ::testing::Test {
  private:
    Variable path_{"LOCPATH", ORVANE_TEST_LOCALES};
};

TEST_F(LocaleTest, TheSeparatorIsThatOfTheNamedLocale) {
    EXPECT_EQ(decimalSeparatorOfLocale("C"), ".");
    EXPECT_EQ(decimalSeparatorOfLocale("de_DE.UTF-8"), ",");
    EXPECT_EQ(decimalSeparatorOfLocale("de_DE"), ",") << "ASCII is the same in its charset";
}

TEST_F(LocaleTest, ASeparatorMayBeMoreThanOneByte) {
    EXPECT_EQ(decimalSeparatorOfLocale("ps_AF.UTF-8"), "\u066B");
}

TEST_F(LocaleTest, ASeparatorInACharsetOtherThanUTF8IsAPoint) {
    ASSERT_NE(std::setlocale(LC_NUMERIC, "zh_XX.GBK"), nullptr);
    const std::string bytes = std::localeconv()->decimal_point;
    std::setlocale(LC_NUMERIC, "C");
    ASSERT_EQ(bytes, "\xC3\xA9") << "valid as UTF-8, too, but then another character";
    EXPECT_EQ(decimalSeparatorOfLocale("zh_XX.GBK"), ".");
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
    FakeBundle bundle;
    FakeLocale point;
    for (const char* const name : {"de_DE.UTF-8", "ps_AF.UTF-8"}) {
        ASSERT_NE(std::setlocale(LC_NUMERIC, name), nullptr);
        EXPECT_EQ(localizedStringWithFormat("%.2f KB.", 1.5, "."), "1.50 KB.");
        EXPECT_EQ(localizedStringWithFormat("%.1e", 1500.0, "."), "1.5e+03");
        EXPECT_EQ(localizedStringWithFormat("%'d", 1234567), "1234567");
        std::string text;
        appendTenths(text, 1e20, ".");
        EXPECT_EQ(text, "100000000000000000000.0");
        EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1500, bundle, point), "1.5 KB");
        std::setlocale(LC_NUMERIC, "C");
    }
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
