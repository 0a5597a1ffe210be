#pragma once

#include <optional>
#include <sys/types.h>
#include <vector>

namespace orvane {

/// The numbers of the open descriptors that an exec passes on; nothing when the system does not tell them. A
/// close-on-exec one is the process's own: no exec brought it along.
std::optional<std::vector<int>> inheritableDescriptors();

/// The same from a folder that lists descriptors (`/proc/self/fd`, `/dev/fd`).
std::optional<std::vector<int>> inheritableDescriptorsListedIn(const char* folder);

/// Those of the numbers that are such descriptors.
std::vector<int> inheritableOnes(std::vector<int> numbers);

/// Closes the listed descriptors from `first` on, and lists again, until none is left. False when there is no list, or
/// when closing does not make it shorter.
bool closeListedDescriptors(int first, std::optional<std::vector<int>> (*list)(), int (*close)(int));

/// `pipe`, with both ends close-on-exec and above the three standard numbers. -1 with `errno` set, and
/// nothing left open, when either cannot be had.
int openPipe(int* ends);

/// `open` with a close-on-exec descriptor, in one step where the system can do that.
int openCloseOnExec(const char* path, int flags, mode_t mode = 0);

/// `pipe` with both ends close-on-exec, in one step where the system can do that.
int openCloseOnExecPipe(int* ends);

/// A close-on-exec duplicate with the number `lowest` or more, in one step where the system can do that.
int duplicateCloseOnExec(int descriptor, int lowest);

} // namespace orvane
