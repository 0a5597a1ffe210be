#include "Support/OVPropertyList.h"

#include "Support/OVText.h"
#include "Support/OVVisit.h"

#include <string>
#include <type_traits>

namespace orvane {

bool boolValue(const PropertyListValue& value) {
    return visitHeld(
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
        value);
}

} // namespace orvane
