#pragma once

#include <spawn.h>

namespace orvane {

/// The flag by which `posix_spawn` gives the child a session of its own; 0 where it knows none.
short newSessionFlag();

/// Adds that the child keeps the close-on-exec descriptor under its own number.
int addInheritedDescriptor(posix_spawn_file_actions_t* actions, int descriptor);

} // namespace orvane
