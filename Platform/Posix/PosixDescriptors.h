#pragma once

#include <optional>
#include <vector>

namespace orvane {

/// The numbers of the process's open descriptors, without one that the listing itself has open; nothing when the system
/// does not tell them.
std::optional<std::vector<int>> openDescriptors();

/// Closes the listed descriptors from `first` on, and lists again, until none is left. False when there is no list, or
/// when closing does not make it shorter.
bool closeListedDescriptors(int first, std::optional<std::vector<int>> (*list)(), int (*close)(int));

/// `pipe`, with both ends close-on-exec and above the three standard numbers. -1 with `errno` set, and
/// nothing left open, when either cannot be had.
int openPipe(int* ends);

/// `pipe` with both ends close-on-exec, in one step where the system can do that.
int openCloseOnExecPipe(int* ends);

/// A close-on-exec duplicate with the number `lowest` or more, in one step where the system can do that.
int duplicateCloseOnExec(int descriptor, int lowest);

} // namespace orvane
