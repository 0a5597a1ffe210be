#pragma once

namespace orvane {

/// The flag by which `posix_spawn` gives the child a session of its own; 0 where it knows none.
short newSessionFlag();

} // namespace orvane
