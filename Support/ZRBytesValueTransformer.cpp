#include "Support/ZRBytesValueTransformer.h"

#include "Support/OVFormat.h"
#include "Support/OVNumber.h"
#include "Support/ZRSystemVersion.h"

#include <array>
#include <string_view>

namespace orvane {

namespace {

constexpr std::array<std::string_view, 4> kUnits = {"%1.1f KB", "%1.1f MB", "%1.1f GB", "%1.1f TB"};

constexpr std::int32_t kModeBinary = 1;
constexpr std::int32_t kModeDecimal = 2;

std::string inEnglish(std::string_view key, std::int32_t count, std::string_view zeroDigit) {
    std::string text = std::to_string(count);
    localizeDigits(text, zeroDigit);
    return text.append(key.substr(std::string_view("%i").size()));
}

std::string inEnglish(std::string_view key, double value, std::string_view decimalSeparator,
                      std::string_view zeroDigit) {
    std::string text;
    appendTenths(text, value, decimalSeparator);
    localizeDigits(text, zeroDigit);
    return text.append(key.substr(std::string_view("%1.1f").size()));
}

/// The text with the key `key` and the values put in; in English where there is no usable translation.
template <typename... Values> std::string filledIn(Bundle& bundle, std::string_view key, const Values&... values) {
    const std::string format = bundle.localizedString(key);
    // The key itself is the usual answer, whose format need not be read.
    const auto text = format == key ? std::nullopt : localizedStringWithFormat(format, values...);
    return text ? *text : inEnglish(key, values...);
}

} // namespace

const NSUInteger ZRBytesValueTransformerCalculatingSize = ~NSUInteger{0};

ZRBytesValueTransformer::ZRBytesValueTransformer(Bundle& bundle, Locale& locale, Gestalt& gestalt)
    : bundle_(bundle), locale_(locale), gestalt_(gestalt) {}

std::uint64_t ZRBytesValueTransformer::kilobyteSize() const {
    if (mode_ == kModeBinary) {
        return 1024;
    }
    return mode_ == kModeDecimal || SystemIsSnowLeopardOrLater(gestalt_) ? 1000 : 1024;
}

std::string ZRBytesValueTransformer::formatBytes(std::uint64_t bytes, Bundle& bundle, Locale& locale) {
    ZRBytesValueTransformer transformer(bundle, locale);
    transformer.setMode(kModeDecimal);
    return transformer.transformedValue(OVNumber::numberWithUnsignedLongLong(bytes));
}

std::string ZRBytesValueTransformer::text(NSUInteger count, float value) const {
    if (count == ZRBytesValueTransformerCalculatingSize) {
        return bundle_.localizedString("Calculating size...");
    }
    const std::uint64_t kilo = kilobyteSize();
    if (count == 1) {
        return filledIn(bundle_, "%i byte", std::int32_t{1}, locale_.zeroDigit());
    }
    // Deliberately the machine word: on a 32-bit build 2^32 counts as 0 here.
    if (count < kilo) {
        return filledIn(bundle_, "%i bytes", static_cast<std::int32_t>(count), locale_.zeroDigit());
    }
    // Deliberately single precision, which may show another tenth than the exact quotient has.
    const auto singleKilo = static_cast<float>(kilo);
    std::size_t unit = 0;
    float quotient = inSinglePrecision(inSinglePrecision(value) / singleKilo);
    while (!(quotient < singleKilo) && unit + 1 < kUnits.size()) {
        quotient = inSinglePrecision(quotient / singleKilo);
        ++unit;
    }
    return filledIn(bundle_, kUnits[unit], static_cast<double>(quotient), locale_.decimalSeparator(),
                    locale_.zeroDigit());
}

} // namespace orvane
