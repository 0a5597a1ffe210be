#pragma once

#include <string>

namespace orvane {

/// Has the program `osascript` on the search path run the script, and waits for its end. What it prints is thrown away.
/// False when there is no such program or it did not exit with 0.
bool runOsascript(const std::string& source);

} // namespace orvane
