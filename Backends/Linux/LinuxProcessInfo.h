#pragma once

#include <optional>
#include <string>
#include <sys/types.h>

namespace orvane {

/// The folder as a place for temporary files: an absolute path of a folder, in characters that a shell line
/// without quotes leaves alone. For root moreover one that root owns up to the top and in which nobody else
/// can rename root's files (not writable by others, or sticky); its real path is returned. Nothing when the
/// folder does not do; null is no folder.
std::optional<std::string> usableTemporaryDirectory(const char* folder, uid_t effectiveUserID);

} // namespace orvane
