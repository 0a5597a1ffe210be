// The formatter against exact arithmetic: whole numbers of any length instead of floating ones.

#include "Support/OVFormat.h"
#include "Support/OVNumber.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tests/Fakes/FakeServices.h"
#include "Tests/Fuzz/Fuzz.h"

#include <cmath>

using namespace orvane;

namespace {

using Wide = unsigned __int128;

/// numerator / denominator, the nearest float of it as mantissa and exponent: ties to even, as the machine rounds.
struct Single {
    std::uint64_t mantissa;
    int exponent;
};

Single single(Wide numerator, Wide denominator) {
    int exponent = 0;
    while (numerator / denominator >= (Wide{1} << 24)) {
        denominator <<= 1;
        ++exponent;
    }
    while (numerator != 0 && numerator / denominator < (Wide{1} << 23)) {
        numerator <<= 1;
        --exponent;
    }
    Wide quotient = numerator / denominator;
    const Wide rest = numerator % denominator;
    if (2 * rest > denominator || (2 * rest == denominator && (quotient & 1) != 0)) {
        ++quotient;
    }
    return {static_cast<std::uint64_t>(quotient), exponent};
}

/// The float in tenths, ties to even.
std::string tenths(const Single& value) {
    const Wide ten = Wide{10} * value.mantissa;
    Wide count = 0;
    if (value.exponent >= 0) {
        count = ten << value.exponent;
    } else {
        const int shift = -value.exponent;
        count = shift < 100 ? ten >> shift : 0;
        const Wide rest = shift < 100 ? ten - (count << shift) : ten;
        const Wide half = Wide{1} << (shift - 1 < 100 ? shift - 1 : 100);
        if (rest > half || (rest == half && (count & 1) != 0)) {
            ++count;
        }
    }
    return std::to_string(static_cast<std::uint64_t>(count / 10)) + "." + std::to_string(static_cast<int>(count % 10));
}

Single divided(const Single& value, std::uint64_t divisor) {
    const int up = value.exponent > 0 ? value.exponent : 0;
    const int down = value.exponent < 0 ? -value.exponent : 0;
    return single(Wide{value.mantissa} << up, Wide{divisor} << down);
}

bool isBelow(const Single& value, std::uint64_t limit) {
    return value.exponent >= 0 ? Wide{value.mantissa} << value.exponent < limit
                               : Wide{value.mantissa} < Wide{limit} << -value.exponent;
}

std::string expected(std::uint64_t count, std::uint64_t kilo) {
    if (count == ZRBytesValueTransformerCalculatingSize) {
        return "Calculating size...";
    }
    if (count < kilo) {
        return count == 1 ? "1 byte" : std::to_string(count) + " bytes";
    }
    // In single precision, divided by one kilo after the other: each step rounds.
    Single value = divided(single(count, 1), kilo);
    std::size_t unit = 0;
    for (; !isBelow(value, kilo) && unit < 3; ++unit) {
        value = divided(value, kilo);
    }
    return tenths(value) + " " + "KMGT"[unit] + "B";
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static test::FakeBundle bundle;
    static test::FakeLocale locale;
    static test::FakeGestalt gestalt;
    FuzzedDataProvider input(data, size);
    const auto count = input.ConsumeIntegral<std::uint64_t>();
    const int shift = input.ConsumeIntegralInRange(0, 63);
    ZRBytesValueTransformer transformer(bundle, locale, gestalt);
    for (const std::uint64_t value : {count, count >> static_cast<unsigned>(shift)}) {
        const OVNumber number = OVNumber::numberWithUnsignedLongLong(value);
        transformer.setMode(1);
        FUZZ_CHECK(transformer.transformedValue(number) == expected(value, 1024));
        transformer.setMode(2);
        FUZZ_CHECK(transformer.transformedValue(number) == expected(value, 1000));
    }
    // The quick way of the tenths, for every float that is one.
    const auto value = input.ConsumeFloatingPoint<float>();
    std::string text;
    appendTenths(text, value, ".");
    char printed[64] = {};
    std::snprintf(printed, sizeof printed, "%1.1f", static_cast<double>(value));
    FUZZ_CHECK(text == printed);
    return 0;
}
