#pragma once

#include "Tasks/OVTaskPlan.h"

#include <string>
#include <vector>

namespace orvane {

/// The lines and programs that the task runs, in order, found by having it run with nobody who carries them out. What
/// is no program stands there as the one that would do the same: a signal as `kill`, a stored setting as `defaults`, a
/// script as `osascript`. The list file of a deletion is named without the folder, which is made when it runs.
std::vector<std::string> OVTaskCommands(const OVTaskDescription& task, const std::vector<std::string>& arguments,
                                        const OVTaskRunnerServices& services);

/// The words as one line for the shell.
std::string OVCommandLine(const std::string& program, const std::vector<std::string>& arguments);

} // namespace orvane
