#include "Backends/Posix/PropertyListStrings.h"

#include "Support/OVText.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <utility>

namespace orvane {

namespace {

using Strings = std::map<std::string, std::string, std::less<>>;

/// Lists that mean something are not nested deeper.
constexpr int kDeepest = 100;

struct Tag {
    std::string_view name;
    bool closing = false;
    bool empty = false; ///< "<true/>"
};

constexpr std::string_view kSpace = " \t\r\n";

bool takePrefix(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

/// What stands before `end`, which is taken too.
std::optional<std::string_view> takeUntil(std::string_view& text, std::string_view end) {
    const std::size_t found = text.find(end);
    if (found == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string_view taken = text.substr(0, found);
    text.remove_prefix(found + end.size());
    return taken;
}

/// A character's number from "#65" or "#x41"; 0 for what is none that XML allows.
char32_t numberedCharacter(std::string_view reference) {
    const bool hexadecimal = reference.starts_with("#x");
    reference.remove_prefix(hexadecimal ? 2 : 1);
    std::uint32_t value = 0;
    const char* const end = reference.data() + reference.size();
    const auto [stopped, error] = std::from_chars(reference.data(), end, value, hexadecimal ? 16 : 10);
    const bool valid = error == std::errc() && stopped == end && value <= 0x10FFFF && value >> 11U != 0xD800U >> 11U;
    return valid ? value : 0;
}

class Reader {
  public:
    explicit Reader(std::string_view text) : text_(text) {}

    std::optional<Strings> read() {
        Strings strings;
        if ((takePrefix(text_, "<?xml") && !takeUntil(text_, "?>")) || !skipBetween()) {
            return std::nullopt;
        }
        if (takePrefix(text_, "<!DOCTYPE")) {
            const std::optional<std::string_view> type = takeUntil(text_, ">");
            if (!type || type->find('[') != std::string_view::npos) { // entities of its own are nobody's
                return std::nullopt;
            }
        }
        const bool whole = takeOpening("plist") && takeOpening("dict") && readRestOf("dict", 0, &strings) &&
                           takeClosing("plist") && skipBetween() && text_.empty();
        return whole ? std::optional(std::move(strings)) : std::nullopt;
    }

  private:
    /// Passes over white space and comments.
    bool skipBetween() {
        do {
            text_.remove_prefix(std::min(text_.find_first_not_of(kSpace), text_.size()));
            if (!takePrefix(text_, "<!--")) {
                return true;
            }
        } while (takeUntil(text_, "-->"));
        return false;
    }

    std::optional<Tag> takeTag() {
        if (!skipBetween() || !takePrefix(text_, "<")) {
            return std::nullopt;
        }
        std::optional<std::string_view> inside = takeUntil(text_, ">");
        if (!inside || inside->find('<') != std::string_view::npos) {
            return std::nullopt;
        }
        Tag tag;
        tag.closing = takePrefix(*inside, "/");
        if (!tag.closing && inside->ends_with('/')) {
            tag.empty = true;
            inside->remove_suffix(1);
        }
        // Attributes (the list's version) say nothing that is needed here.
        tag.name = inside->substr(0, inside->find_first_of(kSpace));
        return tag;
    }

    bool takeOpening(std::string_view name) {
        const std::optional<Tag> tag = takeTag();
        return tag && tag->name == name && !tag->closing && !tag->empty;
    }

    bool takeClosing(std::string_view name) {
        const std::optional<Tag> tag = takeTag();
        return tag && tag->name == name && tag->closing;
    }

    /// What stands between the tag, which has been taken, and its closing one, which is taken too.
    std::optional<std::string> charactersOf(const Tag& tag) {
        std::string characters;
        while (!tag.empty) {
            const std::size_t special = text_.find_first_of("<&");
            characters.append(text_.substr(0, special));
            text_.remove_prefix(std::min(special, text_.size()));
            if (takePrefix(text_, "&")) {
                if (!takeReference(characters)) {
                    return std::nullopt;
                }
            } else if (takePrefix(text_, "<![CDATA[")) {
                const std::optional<std::string_view> data = takeUntil(text_, "]]>");
                if (!data) {
                    return std::nullopt;
                }
                characters.append(*data);
            } else if (takePrefix(text_, "<!--")) {
                if (!takeUntil(text_, "-->")) {
                    return std::nullopt;
                }
            } else {
                return takeClosing(tag.name) ? std::optional(std::move(characters)) : std::nullopt;
            }
        }
        return characters;
    }

    bool takeReference(std::string& characters) {
        static constexpr std::pair<std::string_view, char> kNamed[] = {
            {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};
        const std::optional<std::string_view> reference = takeUntil(text_, ";");
        if (!reference) {
            return false;
        }
        for (const auto& [name, character] : kNamed) {
            if (*reference == name) {
                characters.push_back(character);
                return true;
            }
        }
        const char32_t character = reference->starts_with('#') ? numberedCharacter(*reference) : 0;
        if (character != 0) {
            appendUTF8(characters, character);
        }
        return character != 0;
    }

    /// The rest of a dictionary or an array, with its closing tag; a dictionary's texts go to `strings` where that is
    /// given.
    bool readRestOf(std::string_view container, int depth, Strings* strings = nullptr) {
        while (std::optional<Tag> tag = takeTag()) {
            if (tag->closing) {
                return tag->name == container;
            }
            std::optional<std::string> key;
            if (container == "dict") {
                key = tag->name == "key" ? charactersOf(*tag) : std::nullopt;
                tag = key ? takeTag() : std::nullopt;
                if (!tag || tag->closing) {
                    return false;
                }
            }
            if (strings != nullptr && tag->name == "string") {
                std::optional<std::string> text = charactersOf(*tag);
                if (!text) {
                    return false;
                }
                strings->insert_or_assign(std::move(*key), std::move(*text));
            } else if (!passOver(*tag, depth)) {
                return false;
            }
        }
        return false;
    }

    /// The rest of a value whose opening tag has been taken.
    bool passOver(const Tag& tag, int depth) {
        if (tag.name == "dict" || tag.name == "array") {
            return tag.empty || (depth < kDeepest && readRestOf(tag.name, depth + 1));
        }
        constexpr std::string_view kSimple[] = {"string", "integer", "real", "date", "data", "true", "false"};
        return std::find(std::begin(kSimple), std::end(kSimple), tag.name) != std::end(kSimple) && charactersOf(tag);
    }

    std::string_view text_;
};

} // namespace

std::optional<Strings> stringsInPropertyList(std::string_view text) {
    return Reader(text).read();
}

} // namespace orvane
