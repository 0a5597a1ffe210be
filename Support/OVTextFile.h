#pragma once

#include "Platform/SystemCalls.h"

#include <optional>
#include <string>

namespace orvane {

/// A file's text, or why there is none.
struct OVTextFile {
    std::optional<std::string> text; ///< UTF-8, without a byte-order mark
    std::string error;               ///< when there is no text: the description of what went wrong

    /// `stringWithContentsOfFile:usedEncoding:error:`: reads the whole file (`open`, `read`) and finds out its encoding
    /// as `textFromData` does. No path is an error like that of a missing file.
    static OVTextFile read(const std::optional<std::string>& path, SystemCalls& calls = SystemCalls::platform());
};

} // namespace orvane
