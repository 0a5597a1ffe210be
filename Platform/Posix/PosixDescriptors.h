#pragma once

namespace orvane {

/// Closes the descriptors from `first` on that the folder lists (`/proc/self/fd`, `/dev/fd`); false when the
/// folder cannot be read.
bool closeListedDescriptors(const char* folder, int first);

/// Closes every number from `first` to the hard limit of open files: slow, and blind to descriptors opened
/// before that limit was lowered, so only for systems that can list nothing. False when there is no limit to
/// count to.
bool closeDescriptorsUpToLimit(int first);

/// `pipe`, with both ends close-on-exec and above the three standard numbers. -1 with `errno` set, and
/// nothing left open, when either cannot be had.
int openPipe(int* ends);

/// `pipe` with both ends close-on-exec, in one step where the system can do that.
int openCloseOnExecPipe(int* ends);

/// A close-on-exec duplicate with the number `lowest` or more, in one step where the system can do that.
int duplicateCloseOnExec(int descriptor, int lowest);

} // namespace orvane
