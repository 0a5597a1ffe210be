#include "Support/OVText.h"

#include "Support/OVAssert.h"
#include "Support/OVCodePoint.h"

#include <limits>

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

} // namespace

void appendUTF8(std::string& text, char32_t c) {
    const auto append = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto appendContinuation = [&append](char32_t bits) { append(0x80U | (bits & 0x3FU)); };
    if (c < 0x80) {
        append(c);
    } else if (c < 0x800) {
        append(0xC0U | (c >> 6U));
        appendContinuation(c);
    } else if (c < 0x10000) {
        append(0xE0U | (c >> 12U));
        appendContinuation(c >> 6U);
        appendContinuation(c);
    } else {
        append(0xF0U | (c >> 18U));
        appendContinuation(c >> 12U);
        appendContinuation(c >> 6U);
        appendContinuation(c);
    }
}

std::optional<std::string> textFromData(std::string_view bytes) {
    std::size_t unitSize = 1;
    bool bigEndian = false;
    for (const ByteOrderMark& mark : kMarks) {
        if (bytes.substr(0, mark.bytes.size()) == mark.bytes) {
            bytes.remove_prefix(mark.bytes.size());
            unitSize = mark.unitSize;
            bigEndian = mark.bigEndian;
            break;
        }
    }
    if (unitSize > 1) {
        return textFromUnits(bytes, unitSize, bigEndian);
    }
    return isValidUTF8(bytes) ? std::optional<std::string>(bytes) : std::nullopt;
}

std::int32_t intValue(std::string_view text) {
    skip(text, isWhiteSpace);
    bool negative = false;
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        negative = text.front() == '-';
        text.remove_prefix(1);
    }
    using Limits = std::numeric_limits<std::int32_t>;
    std::int64_t value = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            break;
        }
        value = value * 10 + (c - '0');
        if (value > Limits::max()) {
            return negative ? Limits::min() : Limits::max();
        }
    }
    return static_cast<std::int32_t>(negative ? -value : value);
}

bool boolValue(std::string_view text) {
    skip(text, isBlank);
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    skip(text, [](char32_t c) { return c == '0'; });
    return !text.empty() && std::string_view("YyTt123456789").find(text.front()) != std::string_view::npos;
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
    result.append(text);
    return result;
}

std::string stringByRemoving(std::string_view part, std::string_view text) {
    return stringByReplacing(part, "", text);
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

std::string textOrNull(const std::optional<std::string>& text) {
    return text.value_or("(null)");
}

} // namespace orvane
