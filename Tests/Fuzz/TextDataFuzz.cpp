// Texts of every encoding: what was read, written in the same encoding, gives the bytes that were there.

#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

using namespace orvane;

namespace {

void append(std::string& bytes, std::uint32_t unit, int width, bool bigEndian) {
    for (int index = 0; index < width; ++index) {
        const int shift = 8 * (bigEndian ? width - 1 - index : index);
        bytes.push_back(static_cast<char>(unit >> shift));
    }
}

std::string written(std::string_view text, int width, bool bigEndian) {
    std::string bytes;
    for (; !text.empty(); text.remove_prefix(fuzz::characterLength(text))) {
        const char32_t c = decodeUTF8(text).value;
        if (width == 2 && c >= 0x10000) {
            append(bytes, 0xD800 + ((c - 0x10000) >> 10U), 2, bigEndian);
            append(bytes, 0xDC00 + ((c - 0x10000) & 0x3FFU), 2, bigEndian);
        } else {
            append(bytes, c, width, bigEndian);
        }
    }
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes = fuzz::bytes(data, size);
    const auto text = textFromData(bytes);
    if (!text) {
        return 0;
    }
    FUZZ_CHECK(fuzz::isText(*text));
    using namespace std::string_literals;
    if (bytes.starts_with("\xFF\xFE\0\0"s)) {
        FUZZ_CHECK(written(*text, 4, false) == bytes.substr(4));
    } else if (bytes.starts_with("\0\0\xFE\xFF"s)) {
        FUZZ_CHECK(written(*text, 4, true) == bytes.substr(4));
    } else if (bytes.starts_with("\xFF\xFE")) {
        FUZZ_CHECK(written(*text, 2, false) == bytes.substr(2));
    } else if (bytes.starts_with("\xFE\xFF")) {
        FUZZ_CHECK(written(*text, 2, true) == bytes.substr(2));
    } else {
        FUZZ_CHECK(*text == bytes.substr(bytes.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    }
    return 0;
}
