#include "Support/OVFormat.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <utility>

namespace orvane {

namespace {

/// No display needs more digits for a width or a precision; what asks for more is a mistake. Nor are there more flags.
constexpr std::size_t kMostDigits = 2;
constexpr std::size_t kMostFlags = 6;

constexpr std::string_view kDigits = "0123456789";

/// Takes the characters of `set` from the front of `text`.
std::string_view take(std::string_view& text, std::string_view set) {
    const std::string_view taken = text.substr(0, text.find_first_not_of(set));
    text.remove_prefix(taken.size());
    return taken;
}

/// Reads what follows a "%" and a position, up to its letter. Returns it as `snprintf` takes it, length modifiers left
/// out; nothing for what is cut off, too wide or too long, or a text that is not asked for plainly.
std::optional<std::string> takeConversion(std::string_view& text) {
    const std::string_view start = text;
    const std::string_view flags = take(text, "-+ #0'");
    const std::string_view width = take(text, kDigits);
    std::string_view precision;
    if (text.starts_with('.')) {
        text.remove_prefix(1);
        precision = take(text, kDigits);
    }
    std::string conversion = "%" + std::string(start.substr(0, start.size() - text.size()));
    std::erase(conversion, '\''); // groups of digits are not asked of the C library, whose locale is not the user's
    take(text, "hlqjztL");
    if (text.empty() || flags.size() > kMostFlags || width.size() > kMostDigits || precision.size() > kMostDigits ||
        (text.front() == '@' && text.size() != start.size())) {
        return std::nullopt;
    }
    conversion.push_back(text.front());
    text.remove_prefix(1);
    return conversion;
}

/// Copies the format, and puts in what `render` makes of each conversion, which must be to one of the types.
template <typename Render>
std::optional<std::string> filled(std::string_view format, std::string_view types, const Render& render) {
    std::string result;
    int plainOnes = 0;
    int numberedOnes = 0;
    for (std::size_t percent = 0; (percent = format.find('%')) != std::string_view::npos;) {
        result.append(format.substr(0, percent));
        format.remove_prefix(percent + 1);
        if (format.starts_with('%')) {
            result.push_back('%');
            format.remove_prefix(1);
            continue;
        }
        const bool isNumbered = format.starts_with("1$");
        format.remove_prefix(isNumbered ? 2 : 0);
        ++(isNumbered ? numberedOnes : plainOnes);
        const std::optional<std::string> conversion = takeConversion(format);
        if (!conversion || types.find(conversion->back()) == std::string_view::npos) {
            return std::nullopt;
        }
        result.append(render(*conversion));
    }
    result.append(format);
    // A second unnumbered one would ask for a second value.
    const bool oneValue = plainOnes == 0 || (plainOnes == 1 && numberedOnes == 0);
    return oneValue ? std::optional(std::move(result)) : std::nullopt;
}

template <typename Value> std::string printed(const std::string& conversion, Value value) {
    std::array<char, 512> room = {}; // for all digits of the largest double, a sign, a separator and 99 decimals
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral" // put together above, of one conversion that fits the value
    static_cast<void>(std::snprintf(room.data(), room.size(), conversion.c_str(), value));
#pragma GCC diagnostic pop
    return room.data();
}

/// Puts the separator in the place of that of the C library, which depends on the process's locale.
void setDecimalSeparator(std::string& number, std::string_view separator) {
    const std::size_t start = number.find_first_not_of(" +-0123456789");
    if (start == std::string::npos || number[start] == 'e' || number[start] == 'E') {
        return;
    }
    const std::size_t end = number.find_first_of(" 0123456789eE", start);
    number.replace(start, end == std::string::npos ? end : end - start, separator);
}

} // namespace

std::optional<std::string> stringWithFormat(std::string_view format, std::string_view argument) {
    return filled(format, "@", [&](const std::string& /*conversion*/) { return argument; });
}

std::optional<std::string> localizedStringWithFormat(std::string_view format, std::int32_t argument,
                                                     std::string_view zeroDigit) {
    return filled(format, "diu", [&](const std::string& conversion) {
        std::string number = conversion.back() == 'u' ? printed(conversion, static_cast<std::uint32_t>(argument))
                                                      : printed(conversion, argument);
        localizeDigits(number, zeroDigit);
        return number;
    });
}

std::optional<std::string> localizedStringWithFormat(std::string_view format, double argument,
                                                     std::string_view decimalSeparator, std::string_view zeroDigit) {
    return filled(format, "fFeEgG", [&](const std::string& conversion) {
        std::string number = printed(conversion, argument);
        if (std::isfinite(argument)) {
            setDecimalSeparator(number, decimalSeparator);
        }
        localizeDigits(number, zeroDigit);
        return number;
    });
}

void localizeDigits(std::string& number, std::string_view zeroDigit) {
    if (zeroDigit == "0" || zeroDigit.empty()) {
        return;
    }
    std::string localized;
    for (const char c : number) {
        if (c < '0' || c > '9') {
            localized.push_back(c);
        } else {
            // The ten digits of a script never cross a border of UTF-8: they differ in the last byte alone.
            localized.append(zeroDigit);
            localized.back() = static_cast<char>(localized.back() + (c - '0'));
        }
    }
    number = std::move(localized);
}

void appendTenths(std::string& text, double value, std::string_view decimalSeparator) {
    constexpr double kLargest = 1e15; // well within what 64 bits hold
    // Exact: a float has 24 bits, a double 53.
    const double tenths = std::fabs(value) * 10;
    if (!(tenths < kLargest)) {
        text.append(localizedStringWithFormat("%1.1f", value, decimalSeparator).value_or(""));
        return;
    }
    auto whole = static_cast<std::int64_t>(tenths);
    const double rest = tenths - static_cast<double>(whole);
    if (rest > 0.5 || (rest == 0.5 && whole % 2 != 0)) {
        ++whole;
    }
    if (std::signbit(value)) {
        text.push_back('-');
    }
    std::array<char, 20> digits = {};
    char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), whole / 10).ptr;
    text.append(digits.data(), end);
    text.append(decimalSeparator);
    text.push_back(static_cast<char>('0' + whole % 10));
}

} // namespace orvane
