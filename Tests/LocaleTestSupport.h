#pragma once

#include "Backends/Posix/PosixLocale.h"
#include "Support/OVFormat.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tests/Fakes/FakeServices.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>

namespace orvane::test {

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

/// With the locales that the build has made for a system whose C library can be pointed to them, so that nothing
/// depends on those that the machine has. Every Mac has "de_DE.UTF-8".
class LocaleTest : public ::testing::Test {
  private:
    Variable path_{"LOCPATH", ORVANE_TEST_LOCALES};
};

/// What is formatted while the process has the locale shows nothing of it.
inline void expectNothingOfLocaleInNumbers(const char* name) {
    FakeBundle bundle;
    FakeLocale point;
    ASSERT_NE(std::setlocale(LC_NUMERIC, name), nullptr) << name;
    EXPECT_EQ(localizedStringWithFormat("%.2f KB.", 1.5, "."), "1.50 KB.");
    EXPECT_EQ(localizedStringWithFormat("%.1e", 1500.0, "."), "1.5e+03");
    EXPECT_EQ(localizedStringWithFormat("%'d", 1234567), "1234567");
    std::string text;
    appendTenths(text, 1e20, ".");
    EXPECT_EQ(text, "100000000000000000000.0");
    EXPECT_EQ(ZRBytesValueTransformer::formatBytes(1500, bundle, point), "1.5 KB");
    std::setlocale(LC_NUMERIC, "C");
}

} // namespace orvane::test
