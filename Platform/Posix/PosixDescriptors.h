#pragma once

namespace orvane {

/// Closes the descriptors from `first` on that the folder lists (`/proc/self/fd`, `/dev/fd`); false when the
/// folder cannot be read.
bool closeListedDescriptors(const char* folder, int first);

/// Closes every number from `first` to the hard limit of open files: slow, and blind to descriptors opened
/// before that limit was lowered, so only for systems that can list nothing. False when there is no limit to
/// count to.
bool closeDescriptorsUpToLimit(int first);

} // namespace orvane
