#include "Support/OVText.h"

#include "Support/OVLog.h"
#include "Support/OVVisit.h"

#include <algorithm>
#include <charconv>
#include <type_traits>

namespace orvane {

namespace {

struct ByteOrderMark {
    std::string_view bytes;
    std::size_t unitSize;
    bool bigEndian;
};

using namespace std::string_view_literals;

// The mark of little-endian UTF-32 begins with that of little-endian UTF-16, so it is looked for first.
constexpr ByteOrderMark kMarks[] = {
    {"\xEF\xBB\xBF"sv, 1, false}, {"\xFF\xFE\0\0"sv, 4, false}, {"\0\0\xFE\xFF"sv, 4, true},
    {"\xFF\xFE"sv, 2, false},     {"\xFE\xFF"sv, 2, true},
};

/// The text as UTF-8 from units of two or four bytes.
std::optional<std::string> textFromUnits(std::string_view bytes, std::size_t size, bool bigEndian) {
    if (bytes.size() % size != 0) {
        return std::nullopt;
    }
    const auto unitAt = [&](std::size_t start) {
        char32_t unit = 0;
        for (std::size_t index = 0; index < size; ++index) {
            unit = (unit << 8U) | static_cast<unsigned char>(bytes[start + (bigEndian ? index : size - 1 - index)]);
        }
        return unit;
    };
    std::string text;
    for (std::size_t position = 0; position < bytes.size(); position += size) {
        char32_t c = unitAt(position);
        if (size == 2 && c >= 0xD800 && c <= 0xDBFF && position + size < bytes.size()) {
            if (const char32_t low = unitAt(position + size); low >= 0xDC00 && low <= 0xDFFF) {
                c = 0x10000U + ((c - 0xD800U) << 10U) + (low - 0xDC00U);
                position += size;
            }
        }
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
            return std::nullopt;
        }
        appendUTF8(text, c);
    }
    return text;
}

/// `whitespaceCharacterSet`
bool isBlank(char32_t c) {
    return c == 0x09 || c == 0x20 || c == 0xA0 || c == 0x1680 || (c >= 0x2000 && c <= 0x200A) || c == 0x202F ||
           c == 0x205F || c == 0x3000;
}

/// `whitespaceAndNewlineCharacterSet`
bool isWhiteSpace(char32_t c) {
    return isBlank(c) || (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

void skip(std::string_view& text, bool (*isSkipped)(char32_t)) {
    while (!text.empty()) {
        const CodePoint next = decodeUTF8(text);
        if (next.length == 0 || !isSkipped(next.value)) {
            return;
        }
        text.remove_prefix(next.length);
    }
}

/// Takes a sign away. True for a minus.
bool takeSign(std::string_view& text) {
    const bool isNegative = text.starts_with('-');
    text.remove_prefix(isNegative || text.starts_with('+') ? 1 : 0);
    return isNegative;
}

} // namespace

std::optional<std::string> textFromData(std::string_view bytes) {
    for (const ByteOrderMark& mark : kMarks) {
        if (bytes.starts_with(mark.bytes)) {
            bytes.remove_prefix(mark.bytes.size());
            if (mark.unitSize > 1) {
                return textFromUnits(bytes, mark.unitSize, mark.bigEndian);
            }
            break;
        }
    }
    return isValidUTF8(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
}

std::int32_t intValue(std::string_view text) {
    skip(text, isWhiteSpace);
    const bool isNegative = takeSign(text);
    const std::uint64_t limit = isNegative ? 0x80000000U : 0x7FFFFFFFU;
    std::uint64_t digits = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), digits).ec == std::errc::result_out_of_range) {
        digits = limit;
    }
    const auto value = static_cast<std::int64_t>(std::min(digits, limit));
    return static_cast<std::int32_t>(isNegative ? -value : value);
}

bool boolValue(std::string_view text) {
    skip(text, isBlank);
    takeSign(text);
    skip(text, [](char32_t c) { return c == '0'; });
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
}

bool boolValue(const PropertyListValue& value) {
    return visitHeld(
        [](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_arithmetic_v<Held>) {
                return held != Held{};
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return boolValue(std::string_view(held));
            } else {
                return false;
            }
        },
        value);
}

std::string lowercaseString(std::string_view text) {
    std::string result(text);
    for (char& c : result) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return result;
}

std::string stringByReplacing(std::string_view part, std::string_view replacement, std::string_view text) {
    std::string result;
    std::size_t found = part.empty() ? std::string_view::npos : text.find(part);
    while (found != std::string_view::npos) {
        result.append(text.substr(0, found)).append(replacement);
        text.remove_prefix(found + part.size());
        found = text.find(part);
    }
    return result.append(text);
}

std::string stringWithFormat(std::string_view format, std::initializer_list<std::string_view> arguments) {
    constexpr std::string_view kPlaceholder = "%@";
    std::string result;
    for (const std::string_view argument : arguments) {
        const std::size_t place = format.find(kPlaceholder);
        OVAssert(place != std::string_view::npos, "+[NSString stringWithFormat:]");
        result.append(format.substr(0, place)).append(argument);
        format.remove_prefix(place + kPlaceholder.size());
    }
    OVAssert(format.find(kPlaceholder) == std::string_view::npos, "+[NSString stringWithFormat:]");
    return result.append(format);
}

std::string shellWord(std::string_view text) {
    constexpr std::string_view kHarmless = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789/._-+,:@%";
    if (!text.empty() && text.find_first_not_of(kHarmless) == std::string_view::npos) {
        return std::string(text);
    }
    return "'" + stringByReplacing("'", R"('\'')", text) + "'";
}

std::string textOrNull(const std::optional<std::string>& text) {
    return text.value_or("(null)");
}

} // namespace orvane
