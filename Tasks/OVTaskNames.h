#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orvane {

/// What a shell line printed.
struct OVCaptured {
    std::int32_t error = 0; ///< why it could not be run
    int status = 0;         ///< the wait status
    std::string output;     ///< its standard output
};

/// Runs the line by "/bin/sh -c" with that text as its standard input, and waits for its end. What it writes to
/// standard error goes nowhere.
OVCaptured OVCapture(const std::string& line, std::string_view input, const std::string& temporaryFolder);

/// The pieces of the text, each of which ends with the character; a last one may lack it.
std::vector<std::string> OVPieces(std::string_view text, char end);

/// Which names of a list reach the command that `xargs` runs on each line, and as what.
///
/// The system's own `xargs` says, with a harmless command in the other's place. It is asked only about names that it
/// may take apart, and about the two plain ones behind each of these: the first can be joined to what stands before it,
/// the second tells whether the list goes on.
struct OVArrivals {
    enum class Kind : std::uint8_t { whole, takenApart, lost };

    /// `prefix` stands before `xargs` in the line.
    static OVArrivals ofNames(const std::vector<std::string>& names, std::string_view prefix,
                              const std::string& temporaryFolder);

    std::int32_t error = 0;
    std::vector<Kind> kinds; ///< of each name; lost are those behind the place where the list ended
    std::unordered_map<std::size_t, std::string> becomes; ///< of names that are taken apart: a line for each piece
    std::vector<std::string> strangers;                   ///< what arrives and is no name of the list
};

} // namespace orvane
