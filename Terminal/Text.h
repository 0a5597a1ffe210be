#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::terminal {

/// The bytes as a terminal may have them: control characters, what turns the direction of writing, what is invisible,
/// and bytes that are no UTF-8 come as "\x0a" or "\u{202e}", a backslash as "\\". Two different names never look alike
/// by this.
std::string shown(std::string_view bytes);

/// The same without doubling backslashes and with newlines and tabs left as they are: for what programs print, which
/// is read and not compared.
std::string shownOutput(std::string_view bytes);

/// How many columns the UTF-8 text takes on a terminal.
std::size_t columnsOf(std::string_view text);

/// The text, cut to so many columns, the last three of which say so ("...") where it was longer. `fromLeft`: what is
/// cut away is the beginning.
std::string cut(std::string_view text, std::size_t columns, bool fromLeft = false);

/// The text with blanks to so many columns, behind it or before it.
std::string padded(std::string_view text, std::size_t columns, bool rightAligned = false);

/// The text in lines of at most so many columns, broken at blanks; a longer word has a line of its own.
std::vector<std::string> wrapped(std::string_view text, std::size_t columns);

} // namespace orvane::terminal
