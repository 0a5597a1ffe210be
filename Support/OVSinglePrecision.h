#pragma once

#include <cfloat>

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

} // namespace orvane
