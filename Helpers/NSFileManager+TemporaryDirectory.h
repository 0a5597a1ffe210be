#pragma once

#include "Platform/ProcessInfo.h"
#include "Platform/SystemCalls.h"

#include <optional>
#include <string>

/// The category `TemporaryDirectory` of `NSFileManager`.
namespace orvane::TemporaryDirectory {

/// `createTemporaryDirectory`: makes a new folder with a unique name in the user's temporary directory
/// (`mkdir`, so that it is never somebody else's), its permissions as the process's umask leaves them.
///
/// Returns its path, nothing when it could not be made (`errno` tells why); nothing is logged. Whoever asked
/// for the folder removes it.
std::optional<std::string> createTemporaryDirectory(SystemCalls& calls = SystemCalls::platform(),
                                                    ProcessInfo& processInfo = ProcessInfo::platform());

} // namespace orvane::TemporaryDirectory
