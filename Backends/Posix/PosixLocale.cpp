#include "Backends/Posix/PosixLocale.h"

#include "Backends/Posix/MadeOnce.h"
#include "Platform/Locale.h"
#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <langinfo.h>
#include <locale.h> // NOLINT(modernize-deprecated-headers): newlocale is POSIX's, not C's
#include <memory>
#include <string_view>
#ifdef __APPLE__
#include <xlocale.h>
#endif

namespace orvane {

namespace {

constexpr std::string_view kPoint = ".";

class PosixLocale final : public Locale {
  public:
    std::string decimalSeparator() override {
        return separator_.value([] { return std::make_unique<std::string>(decimalSeparatorOfLocale("")); });
    }

    std::string dateString() override { return dateStringOfTime(std::time(nullptr)); }

  private:
    MadeOnce<std::string> separator_;
};

} // namespace

std::string decimalSeparatorOfLocale(const char* name) {
    const locale_t none = nullptr;
    const locale_t locale = ::newlocale(LC_NUMERIC_MASK | LC_CTYPE_MASK, name, none);
    if (locale == none) {
        return std::string(kPoint);
    }
    std::string separator = ::nl_langinfo_l(RADIXCHAR, locale);
    const bool isUTF8 = std::string_view(::nl_langinfo_l(CODESET, locale)) == "UTF-8";
    ::freelocale(locale);
    const bool isASCII =
        std::all_of(separator.begin(), separator.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    const bool usable = !separator.empty() && (isASCII || (isUTF8 && isValidUTF8(separator)));
    return usable ? separator : std::string(kPoint);
}

std::string dateStringOfTime(std::time_t moment) {
    ::tzset(); // localtime_r need not look whether the time zone is another by now
    tm local = {};
    ::localtime_r(&moment, &local);
    std::array<char, 64> text = {};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &local)};
}

Locale& Locale::platform() {
    static constinit PosixLocale locale;
    return locale;
}

} // namespace orvane
