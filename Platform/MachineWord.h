#pragma once

#include <cstdint>

namespace orvane {

/// The machine word: 32 or 64 bits, as the build.
using NSInteger = std::intptr_t;
using NSUInteger = std::uintptr_t;

} // namespace orvane
