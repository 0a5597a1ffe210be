#include "Terminal/Text.h"

#include "Support/OVText.h"

#include <algorithm>
#include <clocale>
#include <cwchar>
#include <fmt/format.h>
#include <initializer_list>

namespace orvane::terminal {

namespace {

constexpr std::string_view kEllipsis = "...";

bool isRefused(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x061C || c == 0x200B || c == 0x200E || c == 0x200F ||
           (c >= 0x2028 && c <= 0x202E) || (c >= 0x2060 && c <= 0x2069) || c == 0xFEFF || (c >= 0xE0000 && c < 0xE0080);
}

/// Calls `use(character, code point)` for each; the point is 0 with `valid` false for a byte that is none.
template <typename Use> void forEachCharacter(std::string_view bytes, const Use& use) {
    while (!bytes.empty()) {
        const CodePoint next = decodeUTF8(bytes);
        const std::string_view character = bytes.substr(0, std::max<std::size_t>(next.length, 1));
        use(character, next.value, next.length > 0);
        bytes.remove_prefix(character.size());
    }
}

std::string escaped(std::string_view bytes, std::string_view kept, bool doublesBackslashes) {
    std::string text;
    text.reserve(bytes.size());
    forEachCharacter(bytes, [&](std::string_view character, char32_t c, bool valid) {
        if (!valid || (c < 0x80 && isRefused(c) && kept.find(character) == std::string_view::npos)) {
            text += fmt::format("\\x{:02x}", static_cast<unsigned char>(character.front()));
        } else if (c >= 0x80 && isRefused(c)) {
            text += fmt::format("\\u{{{:x}}}", static_cast<unsigned>(c));
        } else if (c == '\\' && doublesBackslashes) {
            text += "\\\\";
        } else {
            text += character;
        }
    });
    return text;
}

/// The C library knows the widths once it has a locale of Unicode, whatever the user's is.
bool knowsWidths() {
    static const bool knows = [] {
        const std::initializer_list<const char*> locales = {"C.UTF-8", "UTF-8", "en_US.UTF-8", ""};
        return std::any_of(locales.begin(), locales.end(), [](const char* locale) {
            // NOLINTNEXTLINE(concurrency-mt-unsafe): texts are made on one thread, before there is another
            return std::setlocale(LC_CTYPE, locale) != nullptr && ::wcwidth(0x4E00) == 2;
        });
    }();
    return knows;
}

std::size_t columnsOfCharacter(char32_t c) {
    if (c < 0x300 || !knowsWidths()) {
        return 1;
    }
    const int columns = ::wcwidth(static_cast<wchar_t>(c));
    return columns < 0 ? 1 : static_cast<std::size_t>(columns);
}

} // namespace

std::string shown(std::string_view bytes) {
    return escaped(bytes, "", true);
}

std::string shownOutput(std::string_view bytes) {
    return escaped(bytes, "\n\t", false);
}

std::size_t columnsOf(std::string_view text) {
    std::size_t columns = 0;
    forEachCharacter(text, [&](std::string_view, char32_t c, bool) { columns += columnsOfCharacter(c); });
    return columns;
}

std::string cut(std::string_view text, std::size_t columns, bool fromLeft) {
    const std::size_t all = columnsOf(text);
    if (all <= columns) {
        return std::string(text);
    }
    const std::string_view mark = kEllipsis.substr(0, columns);
    const std::size_t room = columns - mark.size();
    std::string kept;
    std::size_t before = 0;
    forEachCharacter(text, [&](std::string_view character, char32_t c, bool) {
        const std::size_t behind = before + columnsOfCharacter(c);
        if (fromLeft ? all - before <= room : behind <= room) {
            kept += character;
        }
        before = behind;
    });
    return fromLeft ? std::string(mark) + kept : kept + std::string(mark);
}

std::string padded(std::string_view text, std::size_t columns, bool rightAligned) {
    const std::size_t used = columnsOf(text);
    const std::string blanks(used < columns ? columns - used : 0, ' ');
    return rightAligned ? blanks + std::string(text) : std::string(text) + blanks;
}

std::vector<std::string> wrapped(std::string_view text, std::size_t columns) {
    std::vector<std::string> lines;
    std::string line;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        const std::string_view word = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));
        if (!line.empty() && columnsOf(line) + 1 + columnsOf(word) > columns) {
            lines.push_back(std::move(line));
            line.clear();
        }
        line.append(line.empty() ? "" : " ").append(word);
    }
    if (!line.empty()) {
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace orvane::terminal
