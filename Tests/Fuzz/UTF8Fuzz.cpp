// The check of UTF-8 against the plain decoder of these tests.

#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

using namespace orvane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::bytes(data, size);
    FUZZ_CHECK(isValidUTF8(text) == fuzz::isText(text));
    // The check takes long texts in blocks: the same bytes at other places and behind others.
    const std::string moved = std::string(37, 'a') + std::string(text) + std::string(5, 'z');
    FUZZ_CHECK(isValidUTF8(moved) == fuzz::isText(moved));
    if (size > 0) {
        const CodePoint first = decodeUTF8(text);
        FUZZ_CHECK(first.length == fuzz::characterLength(text));
        if (first.length > 0) {
            std::string again;
            appendUTF8(again, first.value);
            FUZZ_CHECK(again == text.substr(0, first.length));
        }
    }
    return 0;
}
