#include "Support/OVNumber.h"

#include "Support/OVSinglePrecision.h"
#include "Support/OVVisit.h"

#include <limits>

namespace orvane {

namespace {

std::uint64_t bitsOf(std::int64_t value) {
    return static_cast<std::uint64_t>(value);
}

std::uint64_t bitsOf(std::uint64_t value) {
    return value;
}

std::uint64_t bitsOf(double value) {
    if (!(value > 0)) { // nor is a NaN
        return 0;
    }
    constexpr double kBeyond = 18446744073709551616.0;
    return value < kBeyond ? static_cast<std::uint64_t>(value) : std::numeric_limits<std::uint64_t>::max();
}

} // namespace

NSUInteger OVNumber::unsignedIntegerValue() const {
    return static_cast<NSUInteger>(visitHeld([](auto value) { return bitsOf(value); }, value_));
}

float OVNumber::floatValue() const {
    return visitHeld([](auto value) { return inSinglePrecision(static_cast<float>(value)); }, value_);
}

} // namespace orvane
