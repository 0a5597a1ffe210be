#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orvane::terminal {

/// Runs the command that the words name; returns how the program ends.
int runCommandLine(int count, char* const* words);

/// A word that can stand on the command line, with what it means.
using Candidate = std::pair<std::string, std::string>;

/// What the last of the words, perhaps empty, can become. None: files, or nothing that is known.
std::vector<Candidate> completionsOf(const std::vector<std::string>& words);

/// The commands and the options of each ("" for those of all).
std::vector<std::pair<std::string, std::vector<std::string>>> commandsAndOptions();

} // namespace orvane::terminal
