#pragma once

#include "Platform/SystemCalls.h"

#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>

namespace orvane {

/// `lastPathComponent`: what stands behind the last slash, trailing slashes not counted; "/" for a path of
/// slashes alone, "" for "".
std::string lastPathComponent(std::string_view path);

/// `stringByAppendingPathComponent:`: both joined with one slash between them. Slashes that stand together
/// become one and a trailing one goes, anywhere in the result; an empty path or component adds nothing.
std::string stringByAppendingPathComponent(std::string_view path, std::string_view component);

/// `stringByExpandingTildeInPath`: a leading "~" becomes the real user's home folder (`getuid`), "~name" that user's.
/// Any other path, and that of a user whom the password database does not know, stays as it is.
std::string stringByExpandingTildeInPath(std::string_view path, SystemCalls& calls = SystemCalls::platform());

/// The home folder in the password database (`getpwuid`); nothing for a user whom it does not know.
std::optional<std::string> homeDirectoryOfUser(uid_t userID);

} // namespace orvane
