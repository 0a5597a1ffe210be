#pragma once

#include "Platform/MachineWord.h"

#include <cfloat>
#include <cstdint>
#include <limits>

namespace orvane {

/// The value rounded to single precision for good: the older floating-point unit of 32-bit machines computes wider, and
/// compilers let it.
inline float inSinglePrecision(float value) {
    if constexpr (FLT_EVAL_METHOD == 0) {
        return value;
    } else {
        const volatile float rounded = value;
        return rounded;
    }
}

/// A number as what is asked of it (`NSNumber`). It converts as a C cast of what it was made from would, and where that
/// is undefined (a floating value that the type cannot hold) to the nearest limit, a NaN to 0.
class OVNumber {
  public:
    static OVNumber numberWithLongLong(std::int64_t value) {
        return {static_cast<std::uint64_t>(value), static_cast<float>(value)};
    }
    static OVNumber numberWithUnsignedLongLong(std::uint64_t value) { return {value, static_cast<float>(value)}; }
    static OVNumber numberWithDouble(double value) {
        constexpr double kBeyond = 18446744073709551616.0;
        std::uint64_t bits = 0; // for a NaN, too
        if (value > 0) {
            bits = value < kBeyond ? static_cast<std::uint64_t>(value) : std::numeric_limits<std::uint64_t>::max();
        }
        return {bits, static_cast<float>(value)};
    }

    /// `unsignedIntegerValue`: as a machine word, which on a 32-bit build keeps the low 32 bits alone.
    [[nodiscard]] NSUInteger unsignedIntegerValue() const { return static_cast<NSUInteger>(bits_); }

    /// `floatValue`: in single precision.
    [[nodiscard]] float floatValue() const { return single_; }

  private:
    OVNumber(std::uint64_t bits, float single) : bits_(bits), single_(inSinglePrecision(single)) {}

    std::uint64_t bits_;
    float single_;
};

} // namespace orvane
