#pragma once

#include <cstdint>

namespace orvane {

// The task status, the result of every task operation.
inline constexpr std::int32_t kTaskSuccess = 0;
inline constexpr std::int32_t kTaskFailure = 1;
inline constexpr std::int32_t kTaskCancelled = 2; ///< by the owner, or the owner was asked for input and gave none

} // namespace orvane
