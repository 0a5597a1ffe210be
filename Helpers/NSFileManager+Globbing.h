#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The category `Globbing` of `NSFileManager`: the files that match a shell wildcard pattern.
namespace orvane::Globbing {

/// `arrayWithFilesMatchingPattern:inDirectory:`: the paths that match the pattern beneath the folder, in the
/// order of `glob` (by name); empty when nothing matches or the folder cannot be read, which is not logged.
///
/// A leading tilde of the folder is expanded. In the pattern "*", "?", "[...]" and the backslash have their
/// meaning, each within one path component; tilde and braces are ordinary characters. Slashes that stand
/// together become one and a trailing one goes before `glob` (with flags 0) sees the text; an empty pattern
/// is the folder itself. Paths come as the file system spells them, UTF-8 or not.
///
/// `failed`, if there is one, is told of each folder on the way that could not be read (`errfunc` of `glob`); with 0 it
/// lets the search go on.
std::vector<std::string> arrayWithFilesMatchingPattern(std::string_view pattern, std::string_view inDirectory,
                                                       int (*failed)(const char* path, int error) = nullptr);

} // namespace orvane::Globbing
