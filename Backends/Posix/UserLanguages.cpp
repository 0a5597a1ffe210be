#include "Backends/Posix/UserLanguages.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace orvane {

namespace {

constexpr const char* kEnglish = "en";

/// "de_DE.UTF-8@euro" is "de_DE"; "" for what names no language.
std::string languageOf(std::string_view locale) {
    locale = locale.substr(0, locale.find_first_of(".@"));
    // It becomes part of a path, and comes from whoever started the program.
    const bool isName = std::all_of(locale.begin(), locale.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '-';
    });
    return !isName || locale == "C" || locale == "POSIX" ? std::string() : std::string(locale);
}

const char* environmentVariable(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): only read
}

} // namespace

std::vector<std::string> userLanguages(const std::function<const char*(const char* name)>& variable) {
    const auto valueOf = [&](const char* name) {
        const char* const value = variable(name);
        return std::string_view(value != nullptr ? value : "");
    };
    std::string_view locale;
    for (const char* const name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        locale = locale.empty() ? valueOf(name) : locale;
    }
    // The list counts only where translations are wanted at all.
    std::string_view list = locale;
    if (!locale.empty() && locale != "C" && locale != "POSIX" && !valueOf("LANGUAGE").empty()) {
        list = valueOf("LANGUAGE");
    }
    std::vector<std::string> languages;
    const auto add = [&languages](const std::string& language) {
        if (!language.empty() && std::find(languages.begin(), languages.end(), language) == languages.end()) {
            languages.push_back(language);
        }
    };
    while (!list.empty() && (languages.empty() || languages.back() != kEnglish)) {
        const std::size_t colon = list.find(':');
        const std::string language = languageOf(list.substr(0, colon));
        add(language);
        add(language.substr(0, language.find_first_of("_-")));
        list.remove_prefix(colon == std::string_view::npos ? list.size() : colon + 1);
    }
    add(kEnglish);
    return languages;
}

std::vector<std::string> userLanguages() {
    return userLanguages(environmentVariable);
}

} // namespace orvane
