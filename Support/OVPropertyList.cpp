#include "Support/OVPropertyList.h"

#include "Support/OVText.h"

#include <string>
#include <type_traits>
#include <variant>

namespace orvane {

bool boolValue(const PropertyListValue& value) {
    return std::visit(
        [](const auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_arithmetic_v<Held>) {
                return held != Held{};
            } else if constexpr (std::is_same_v<Held, std::string>) {
                return boolValue(std::string_view(held));
            } else {
                return false;
            }
        },
        static_cast<const PropertyListValue::variant&>(value));
}

} // namespace orvane
