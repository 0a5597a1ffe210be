// Strings tables: what was read, written plainly, reads the same; what was refused is told with its line.

#include "Backends/Posix/StringsTable.h"
#include "Tests/Fuzz/Fuzz.h"

#include <algorithm>

using namespace orvane;

namespace {

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            result += '\\';
        }
        result += c;
    }
    return result + '"';
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::bytes(data, size);
    std::string damage;
    const auto table = readStringsTable(text, damage);
    if (!table) {
        const auto colon = damage.find(": ");
        FUZZ_CHECK(colon != std::string::npos && colon + 2 < damage.size());
        const unsigned long line = std::strtoul(damage.c_str(), nullptr, 10);
        FUZZ_CHECK(line >= 1 && line <= 1 + static_cast<unsigned long>(std::count(text.begin(), text.end(), '\n')));
        return 0;
    }
    std::string again;
    for (const auto& [key, value] : *table) {
        FUZZ_CHECK(!fuzz::isText(text) || (fuzz::isText(key) && fuzz::isText(value)));
        again += quoted(key) + " = " + quoted(value) + ";\n";
    }
    const auto second = readStringsTable(again, damage);
    FUZZ_CHECK(second && *second == *table);
    return 0;
}
