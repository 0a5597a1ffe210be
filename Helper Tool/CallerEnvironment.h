#pragma once

#include <string_view>
#include <sys/types.h>

/// What an unprivileged caller leaves behind in a setuid process, made safe.
///
/// The tool runs as root for any user, and its shell lines name programs without folders. So whoever starts it must not
/// choose which programs those are, nor hand them descriptors, signals or limits that make them fail half-way. Root's
/// own settings are left alone.
namespace orvane {

/// Makes the process safe when the real user is not root: timers, signals, environment, limits, descriptors, umask and
/// working directory, in that order. Must be the process's first act.
///
/// Returns the real user id, which `setuid(0)` will overwrite. Ends the process with status 1 when it cannot be made
/// safe.
uid_t secureProcessFromCaller();

/// The rest of it, for a process in which a task will run, so that no other start pays for it: real-time signals, and
/// `HOME`, `USER` and `LOGNAME` of the real user, from the password database, whose look-up reads files and may load
/// code.
///
/// Ends the process with status 1 when a limit of the caller's that could not be raised is so low that a task could
/// lose a file for it.
void prepareForTask(uid_t realUserID);

/// Whether a caller's environment value may be kept: a locale's or terminal's name, which no program takes for a path
/// or a format.
bool isHarmlessEnvironmentValue(std::string_view value);

/// Makes root's empty folder the working folder, whoever the user is: a piece of a name that is no absolute path names
/// nothing there. False when there is no such folder that nobody else may write to.
bool enterEmptyFolder();

/// Whether the text does not stay one word between a root shell's quotes.
bool holdsShellCharacter(std::string_view text);

} // namespace orvane
