#pragma once

#include "Platform/Bundle.h"
#include "Platform/Gestalt.h"
#include "Platform/Locale.h"
#include "Platform/MachineWord.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace orvane {

/// A byte count that is not known yet: all bits of the machine word. It shows as "Calculating size...".
extern const NSUInteger ZRBytesValueTransformerCalculatingSize;

/// What can be shown as a byte count: anything that answers the two questions, as `OVNumber` does.
template <typename Number>
concept OVByteCount = requires(const Number& number) {
    { number.unsignedIntegerValue() } -> std::convertible_to<NSUInteger>;
    { number.floatValue() } -> std::convertible_to<float>;
};

/// Turns byte counts into short texts ("1 byte", "512 bytes", "3.4 MB"; `NSValueTransformer`), one way only. The texts
/// come from the bundle's strings table, with the English text as key, the digits and the decimal separator from the
/// user's locale.
class ZRBytesValueTransformer {
  public:
    /// `init`: with mode 0. The services must outlive the object.
    explicit ZRBytesValueTransformer(Bundle& bundle = Bundle::platform(), Locale& locale = Locale::platform(),
                                     Gestalt& gestalt = Gestalt::platform());

    /// `+allowsReverseTransformation`: no.
    static constexpr bool allowsReverseTransformation() { return false; }

    /// `mode`, `setMode:`: which kilo. 1: 1024. 2: 1000. Any other, as the 0 at the start: the system's own, 1000
    /// from 10.6 on
    /// (`SystemIsSnowLeopardOrLater`), before it 1024.
    [[nodiscard]] std::int32_t mode() const { return mode_; }
    void setMode(std::int32_t mode) { mode_ = mode; }

    /// `kilobyteSize`: the kilo of the mode, found out anew by every call.
    [[nodiscard]] std::uint64_t kilobyteSize() const;

    /// `transformedValue:`: the count as text, computed in single precision and rounded to a tenth; nothing for
    /// nothing.
    template <OVByteCount Number>
    [[nodiscard]] std::optional<std::string> transformedValue(const std::optional<Number>& number) const {
        return number ? std::optional(transformedValue(*number)) : std::nullopt;
    }
    /// The same for a number that is there.
    template <OVByteCount Number> [[nodiscard]] std::string transformedValue(const Number& number) const {
        return text(number.unsignedIntegerValue(), number.floatValue());
    }

    /// `+formatBytes:`: the count with kilo 1000, whatever the system.
    static std::string formatBytes(std::uint64_t bytes, Bundle& bundle = Bundle::platform(),
                                   Locale& locale = Locale::platform());

  private:
    [[nodiscard]] std::string text(NSUInteger count, float value) const;

    Bundle& bundle_;
    Locale& locale_;
    Gestalt& gestalt_;
    std::int32_t mode_ = 0;
};

} // namespace orvane
