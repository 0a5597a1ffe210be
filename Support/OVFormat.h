#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace orvane {

// Formats come from translated tables, so they are read with suspicion: a translation may not make the program read
// what it was not given. A format may leave its value out, ask for it once, or any number of times by position
// ("%1$@"); "%%" stands for a percent sign. Whatever else it asks for makes it unusable, and the answer is nothing.

/// `stringWithFormat:` with one text, for "%@" alone.
std::optional<std::string> stringWithFormat(std::string_view format, std::string_view argument);

/// `localizedStringWithFormat:` with one 32-bit integer: d, i or u with flags, width and precision; length modifiers
/// ("%ld") do not count.
std::optional<std::string> localizedStringWithFormat(std::string_view format, std::int32_t argument,
                                                     std::string_view zeroDigit = "0");

/// `localizedStringWithFormat:` with one floating value: f, F, e, E, g or G with flags, width and precision. The
/// separator, not the process's own, stands before the decimals; the text around the number stays as it is.
std::optional<std::string> localizedStringWithFormat(std::string_view format, double argument,
                                                     std::string_view decimalSeparator,
                                                     std::string_view zeroDigit = "0");

/// Adds the value to `text` as "%1.1f" writes it, in a fraction of the time. `value` holds a float: it must have been
/// one, since it is exactness that makes the quick way right.
void appendTenths(std::string& text, double value, std::string_view decimalSeparator);

/// Writes a number's digits as those that begin with `zeroDigit` (`Locale`).
void localizeDigits(std::string& number, std::string_view zeroDigit);

} // namespace orvane
