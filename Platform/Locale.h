#pragma once

#include <string>

namespace orvane {

/// How the user writes numbers and dates (`NSLocale`'s `currentLocale`).
class Locale {
  public:
    /// The user's. Lives for ever; may be used from any thread.
    static Locale& platform();

    /// What stands between the whole number and its decimals: "." or ",", as UTF-8.
    virtual std::string decimalSeparator() = 0;

    /// The user's digit for zero, as UTF-8; the other nine follow it in Unicode.
    virtual std::string zeroDigit() { return "0"; }

    /// Today's date by the pattern "yyyy-MM-dd" (`NSDateFormatter` with the default locale and time zone).
    virtual std::string dateString() = 0;

  protected:
    ~Locale() = default;
};

} // namespace orvane
