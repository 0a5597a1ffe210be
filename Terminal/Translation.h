#pragma once

#include <cstdint>
#include <fmt/format.h>
#include <string>
#include <string_view>

namespace orvane::terminal {

/// The text in the user's language (`Bundle`), with the English one as key.
std::string translated(std::string_view english);

/// The same with `{}` or `{0}` filled in.
template <typename... Values> std::string translated(std::string_view english, const Values&... values) {
    return fmt::format(fmt::runtime(translated(english)), values...);
}

/// One of two texts, for one thing and for any other number of them, which is `{0}` there; `{1}` is the next value.
template <typename... Values>
std::string counted(std::uint64_t count, std::string_view one, std::string_view many, const Values&... values) {
    return translated(count == 1 ? one : many, count, values...);
}

/// The byte count as the user's locale writes it.
std::string bytesText(std::uint64_t bytes);

/// "0:07", "1:02:03".
std::string durationText(std::uint64_t seconds);

/// Local date and time, "2026-11-22 02:30:11", of seconds since 1970.
std::string timeText(std::int64_t seconds);

/// The same in UTC for programs: "2026-11-22T02:30:11Z".
std::string timestamp(std::int64_t seconds);

} // namespace orvane::terminal
