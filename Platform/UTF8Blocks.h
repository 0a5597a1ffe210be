#pragma once

#include <cstddef>
#include <string_view>

namespace orvane {

inline constexpr std::size_t kUTF8BlockRest = 31;

/// The first part of a UTF-8 check, with the widest vectors that the processor has. Returns how many leading
/// bytes hold nothing malformed; at most `kUTF8BlockRest` bytes are left unexamined, and a character may be
/// cut at the end of what was. `std::string_view::npos` when there is something malformed.
std::size_t checkUTF8Blocks(std::string_view bytes);

/// The same in a way that every processor has.
std::size_t checkUTF8BlocksAnywhere(std::string_view bytes);

} // namespace orvane
