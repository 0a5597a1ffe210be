// Formats of translated tables: one is refused, or asks for just what it is given.

#include "Support/OVFormat.h"
#include "Support/OVText.h"
#include "Tests/Fuzz/Fuzz.h"

#include <array>
#include <cmath>

using namespace orvane;

namespace {

/// A format of plain conversions without position, which the C library can be asked about as it is.
bool isPlain(std::string_view format, char conversion) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < format.size(); ++at) {
        if (format[at] == '\0' || static_cast<unsigned char>(format[at]) >= 0x80) {
            return false;
        }
        if (format[at] == '%') {
            if (at + 1 == format.size() || format[at + 1] != conversion) {
                return false;
            }
            ++count;
            ++at;
        }
    }
    return count <= 1;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
template <typename Value> std::string printed(const std::string& format, Value value) {
    const int length = std::snprintf(nullptr, 0, format.c_str(), value);
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), format.c_str(), value);
    text.pop_back();
    return text;
}
#pragma GCC diagnostic pop

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzedDataProvider input(data, size);
    const auto whole = input.ConsumeIntegral<std::int32_t>();
    const auto floating = input.ConsumeFloatingPoint<double>();
    const std::string argument = input.ConsumeRandomLengthString(16);
    const std::string format = input.ConsumeRemainingBytesAsString();

    if (const auto text = stringWithFormat(format, argument)) {
        FUZZ_CHECK(format.find('%') != std::string::npos || *text == format);
    }
    const auto number = localizedStringWithFormat(format, whole);
    FUZZ_CHECK(!isPlain(format, 'd') || (number && *number == printed(format, whole)));
    const auto decimals = localizedStringWithFormat(format, floating, ".");
    FUZZ_CHECK(!isPlain(format, 'f') || (decimals && *decimals == printed(format, floating)));
    // Other digits and separators stand in the numbers alone.
    const auto foreign = localizedStringWithFormat(format, floating, ",", "\u0660");
    FUZZ_CHECK(foreign.has_value() == decimals.has_value());
    FUZZ_CHECK(!foreign || !isValidUTF8(format) || isValidUTF8(*foreign));
    return 0;
}
