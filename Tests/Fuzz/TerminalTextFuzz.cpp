// Names on a terminal: what is shown can be told apart, stands still, and fits where it is cut.

#include "Support/OVText.h"
#include "Terminal/Json.h"
#include "Terminal/Text.h"
#include "Tests/Fuzz/Fuzz.h"

#include <sstream>
#include <vector>

using namespace orvane;
using namespace orvane::terminal;

namespace {

bool standsStill(std::string_view text, std::string_view kept) {
    for (; !text.empty(); text.remove_prefix(fuzz::characterLength(text))) {
        const char32_t c = decodeUTF8(text).value;
        const bool isControl = c < 0x20 || (c >= 0x7F && c < 0xA0);
        const bool turns =
            c == 0x061C || c == 0x200E || c == 0x200F || (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069);
        if (turns || (isControl && kept.find(static_cast<char>(c)) == std::string_view::npos)) {
            return false;
        }
    }
    return true;
}

/// The bytes that were shown so.
std::string taken(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text[0] != '\\') {
            bytes += text[0];
            text.remove_prefix(1);
        } else if (text[1] == '\\') {
            bytes += '\\';
            text.remove_prefix(2);
        } else if (text[1] == 'x') {
            bytes += static_cast<char>(std::stoi(std::string(text.substr(2, 2)), nullptr, 16));
            text.remove_prefix(4);
        } else {
            FUZZ_CHECK(text.substr(1, 2) == "u{");
            bytes += fuzz::encoded(static_cast<char32_t>(std::stoul(std::string(text.substr(3)), nullptr, 16)));
            text.remove_prefix(text.find('}') + 1);
        }
    }
    return bytes;
}

std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> all;
    std::istringstream in(text);
    for (std::string word; std::getline(in, word, ' ');) {
        if (!word.empty()) {
            all.push_back(word);
        }
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) {
        return 0;
    }
    const std::size_t columns = data[0];
    const std::string bytes(fuzz::bytes(data + 1, size - 1));
    const std::string text = shown(bytes);
    FUZZ_CHECK(fuzz::isText(text) && standsStill(text, ""));
    FUZZ_CHECK(taken(text) == bytes);
    const std::string output = shownOutput(bytes);
    FUZZ_CHECK(fuzz::isText(output) && standsStill(output, "\n\t"));

    const std::size_t all = columnsOf(text);
    for (const bool fromLeft : {false, true}) {
        const std::string part = cut(text, columns, fromLeft);
        FUZZ_CHECK(fuzz::isText(part) && columnsOf(part) <= columns);
        FUZZ_CHECK((part == text) == (all <= columns));
        const std::string wide = padded(text, columns, fromLeft);
        FUZZ_CHECK(columnsOf(wide) == std::max(all, columns));
        FUZZ_CHECK(fromLeft ? wide.ends_with(text) : wide.starts_with(text));
    }
    std::vector<std::string> kept;
    for (const std::string& line : wrapped(text, columns)) {
        const std::vector<std::string> ofLine = words(line);
        FUZZ_CHECK(columnsOf(line) <= columns || ofLine.size() == 1);
        kept.insert(kept.end(), ofLine.begin(), ofLine.end());
    }
    FUZZ_CHECK(kept == words(text));

    Json object = Json::object();
    setBytes(object, "name", bytes);
    FUZZ_CHECK(bytesOf(Json::parse(lineOf(object)), "name") == bytes);
    return 0;
}
