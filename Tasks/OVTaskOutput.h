#pragma once

#include "Tasks/OVTaskRunner.h"

#include <string_view>

namespace orvane {

/// A task's own words to the runner's owner (`hasOutputAvailable:`), as they are; to nobody without an owner.
inline void tellOwner(const OVTaskRunner& runner, std::string_view text) {
    if (const auto owner = runner.delegate()) {
        owner->hasOutputAvailable(text);
    }
}

} // namespace orvane
