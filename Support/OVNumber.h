#pragma once

#include "Platform/MachineWord.h"

#include <cstdint>
#include <variant>

namespace orvane {

/// A number that remembers how it was made (`NSNumber`). It converts as a C cast of what it holds would, and where that
/// is undefined (a floating value that the type cannot hold) to the nearest limit, a NaN to 0.
class OVNumber {
  public:
    static OVNumber numberWithLongLong(std::int64_t value) { return OVNumber(value); }
    static OVNumber numberWithUnsignedLongLong(std::uint64_t value) { return OVNumber(value); }
    static OVNumber numberWithDouble(double value) { return OVNumber(value); }

    /// `unsignedIntegerValue`: as a machine word, which on a 32-bit build keeps the low 32 bits alone.
    [[nodiscard]] NSUInteger unsignedIntegerValue() const;

    /// `floatValue`: in single precision.
    [[nodiscard]] float floatValue() const;

  private:
    template <typename Value> explicit OVNumber(Value value) : value_(value) {}

    std::variant<std::int64_t, std::uint64_t, double> value_;
};

} // namespace orvane
