#include "Tests/LocaleTestSupport.h"

// The C library forgets its copy of LOCPATH, which only tests set.
extern "C" const char* __lsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier): the sanitizer's name
    return "leak:argz_add_sep";
}

namespace orvane::test {
namespace {

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

TEST_F(LocaleTest, AProcesssOwnSeparatorOfSeveralBytesDoesNotShowInFormattedNumbers) {
    expectNothingOfLocaleInNumbers("ps_AF.UTF-8");
}

} // namespace
} // namespace orvane::test
