#pragma once

#include <cstddef>
#include <string_view>

namespace orvane {

/// The first part of a UTF-8 check, with the widest vectors that the processor has. Returns how many leading
/// bytes hold nothing malformed; at most `kUTF8BlockRest` bytes are left unexamined, and a character may be
/// cut at the end of what was. `std::string_view::npos` when there is something malformed.
std::size_t checkUTF8Blocks(std::string_view bytes);

inline constexpr std::size_t kUTF8BlockRest = 31;

} // namespace orvane
