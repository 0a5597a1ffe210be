#pragma once

#include <cstddef>
#include <variant>

namespace orvane {

/// `std::visit` of one variant, without the exception that it may throw and that the C++ library of macOS before 10.13
/// lacks. All answers are of one type.
template <std::size_t index = 0, typename Visitor, typename... Kinds>
auto visitHeld(const Visitor& visitor, const std::variant<Kinds...>& value) {
    if constexpr (index + 1 < sizeof...(Kinds)) {
        if (value.index() != index) {
            return visitHeld<index + 1>(visitor, value);
        }
    }
    return visitor(*std::get_if<index>(&value));
}

} // namespace orvane
