#include "Backends/Posix/StringsTable.h"

#include "Support/OVText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

namespace orvane {

namespace {

constexpr std::string_view kUnquoted = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_$/:.-";

/// Where a character is expected: none.
constexpr char32_t kNone = 0xFFFFFFFF;

bool isSurrogate(char32_t unit, char32_t first) {
    return unit >= first && unit <= first + 0x3FF;
}

class Reader {
  public:
    Reader(std::string_view text, std::string& damage) : whole_(text), text_(text), damage_(damage) {}

    std::optional<StringsTable> read() {
        StringsTable table;
        while (skipBetween() && !text_.empty()) {
            std::optional<std::string> key = takeWord("a key is missing");
            if (!key || !skipBetween()) {
                break;
            }
            std::string value = *key;
            if (takePrefix("=")) {
                std::optional<std::string> word = skipBetween() ? takeWord("a value is missing") : std::nullopt;
                if (!word || !skipBetween()) {
                    break;
                }
                value = std::move(*word);
            }
            if (!takePrefix(";")) {
                damaged("a semicolon is missing");
                break;
            }
            table.insert_or_assign(std::move(*key), std::move(value));
        }
        return damage_.empty() ? std::optional(std::move(table)) : std::nullopt;
    }

  private:
    bool takePrefix(std::string_view prefix) {
        if (!text_.starts_with(prefix)) {
            return false;
        }
        text_.remove_prefix(prefix.size());
        return true;
    }

    std::nullopt_t damaged(const char* reason) {
        const std::string_view before = whole_.substr(0, whole_.size() - text_.size());
        const auto line = std::count(before.begin(), before.end(), '\n') + 1;
        damage_ = std::to_string(line) + ": " + reason;
        return std::nullopt;
    }

    /// Passes over white space and comments.
    bool skipBetween() {
        while (!text_.empty()) {
            if (text_.starts_with("/*")) {
                const std::size_t end = text_.find("*/", 2);
                if (end == std::string_view::npos) {
                    damaged("a comment has no end");
                    return false;
                }
                text_.remove_prefix(end + 2);
            } else if (text_.starts_with("//")) {
                text_.remove_prefix(std::min(text_.find_first_of("\n\r"), text_.size()));
            } else if (std::string_view(" \t\n\v\f\r").find(text_.front()) != std::string_view::npos) {
                text_.remove_prefix(1);
            } else {
                break;
            }
        }
        return true;
    }

    std::optional<std::string> takeWord(const char* whatIsMissing) {
        if (text_.starts_with('"') || text_.starts_with('\'')) {
            return takeQuoted();
        }
        std::string_view word = text_.substr(0, text_.find_first_not_of(kUnquoted));
        // A slash may belong to a word, but not begin a comment in it.
        word = word.substr(0, word.find("//"));
        if (word.size() < text_.size() && word.ends_with('/') && text_[word.size()] == '*') {
            word.remove_suffix(1);
        }
        if (word.empty()) {
            return damaged(whatIsMissing);
        }
        text_.remove_prefix(word.size());
        return std::string(word);
    }

    std::optional<std::string> takeQuoted() {
        const std::string_view start = text_;
        const char quote = text_.front();
        text_.remove_prefix(1);
        const char special[] = {quote, '\\'};
        std::string word;
        while (true) {
            const std::size_t end = text_.find_first_of(std::string_view(special, sizeof special));
            if (end == std::string_view::npos) {
                text_ = start; // the line where it begins is the one to look at
                return damaged("a quoted text has no end");
            }
            word.append(text_.substr(0, end));
            text_.remove_prefix(end);
            if (takePrefix(std::string_view(&quote, 1))) {
                return word;
            }
            if (!takeEscape(word)) {
                return std::nullopt;
            }
        }
    }

    bool takeEscape(std::string& word) {
        static constexpr std::pair<char, char> kEscapes[] = {{'"', '"'},  {'\'', '\''}, {'\\', '\\'}, {'n', '\n'},
                                                             {'t', '\t'}, {'r', '\r'},  {'\n', '\n'}};
        const char letter = text_.size() > 1 ? text_[1] : 'U';
        for (const auto& [escaped, meant] : kEscapes) {
            if (letter == escaped) {
                word.push_back(meant);
                text_.remove_prefix(2);
                return true;
            }
        }
        char32_t character = takeUnit();
        if (isSurrogate(character, 0xD800)) {
            const char32_t low = takeUnit();
            character = isSurrogate(low, 0xDC00) ? 0x10000U + ((character - 0xD800U) << 10U) + (low - 0xDC00U) : kNone;
        }
        if (character == kNone || isSurrogate(character, 0xDC00)) {
            damaged("an escape stands for no character");
            return false;
        }
        appendUTF8(word, character);
        return true;
    }

    /// "\Uxxxx"
    char32_t takeUnit() {
        constexpr std::size_t kLength = 6;
        if (text_.size() < kLength || !text_.starts_with("\\U")) {
            return kNone;
        }
        std::uint32_t unit = 0;
        const char* const end = text_.data() + kLength;
        const auto [stopped, error] = std::from_chars(text_.data() + 2, end, unit, 16);
        if (error != std::errc() || stopped != end) {
            return kNone;
        }
        text_.remove_prefix(kLength);
        return unit;
    }

    std::string_view whole_;
    std::string_view text_;
    std::string& damage_;
};

} // namespace

std::optional<StringsTable> readStringsTable(std::string_view text, std::string& damage) {
    damage.clear();
    return Reader(text, damage).read();
}

} // namespace orvane
