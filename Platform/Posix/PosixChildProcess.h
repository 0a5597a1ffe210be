#pragma once

#include "Platform/ChildProcess.h"

#include <cstddef>

namespace orvane {

/// Whether a start may let the child use the parent's memory instead of a copy.
enum class ChildMemory { kCopied, kShared };

/// `ChildProcess::start` over `SystemCalls`; a shared start that the system refuses becomes a copied one.
pid_t startChild(SystemCalls& calls, ChildMemory memory, ChildSteps steps, void* context);

/// `SystemCalls::vfork` of this system.
pid_t forkSharingMemory(int (*child)(void*), void* context, void* stack, std::size_t stackSize);

} // namespace orvane
