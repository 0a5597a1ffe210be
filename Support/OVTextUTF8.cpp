#include "Platform/UTF8Blocks.h"
#include "Support/OVCodePoint.h"
#include "Support/OVText.h"

namespace orvane {

bool isValidUTF8(std::string_view bytes) {
    std::size_t done = checkUTF8Blocks(bytes);
    if (done == std::string_view::npos) {
        return false;
    }
    // The blocks may end inside a character: the rest begins with that character's first byte.
    for (std::size_t back = 1; back <= 3 && back <= done; ++back) {
        const auto byte = static_cast<unsigned char>(bytes[done - back]);
        if (byte >= 0xC0) {
            done -= back;
            break;
        }
    }
    bytes.remove_prefix(done);
    while (!bytes.empty()) {
        const CodePoint next = decodeUTF8(bytes);
        if (next.length == 0) {
            return false;
        }
        bytes.remove_prefix(next.length);
    }
    return true;
}

} // namespace orvane
