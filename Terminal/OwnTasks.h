#pragma once

#include "Tasks/OVTaskRunner.h"
#include "Terminal/Session.h"

namespace orvane::terminal {

/// Runs a task of the library in this process; returns its task status. The runner has its owner already.
std::int32_t runOwnTask(OVTaskRunner& runner, const Job& job);

/// Whether there is a way to run the task of that name.
bool isOwnTask(std::string_view name);

} // namespace orvane::terminal
