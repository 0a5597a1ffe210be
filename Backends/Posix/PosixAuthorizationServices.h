#pragma once

#include "Platform/AuthorizationServices.h"
#include "Platform/SystemCalls.h"

#include <cstdint>

namespace orvane {

/// `AuthorizationServices::executeWithPrivileges` for a process that is root: the program gets this process's user
/// ids, standard descriptors, working folder and environment, and no signal blocked. Returns once the program
/// runs or cannot. The child is the caller's to reap, also the one that could not become the program.
std::int32_t startProgram(const char* path, char* const* arguments, SystemCalls& calls);

} // namespace orvane
