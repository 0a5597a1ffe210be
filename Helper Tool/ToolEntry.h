#pragma once

#include <cstdint>
#include <sys/types.h>

namespace orvane {

/// Decides the privilege mode from the first word after the program name; further words are not looked at.
///
/// Without a word it logs the user ids and exits with 0; with "repairPriviliges" or "surrenderPriviliges" it changes
/// the running executable's setuid-root state and exits with 0 or the error number; otherwise it becomes root and
/// returns, or exits with 1 when it cannot.
void setupPriviliges(int argc, const char* const argv[]);

/// The process from its first decision to its last: `setupPriviliges`, then the task named by the first word with the
/// words after it as arguments. `realUserID` is who started the process, as it was before anything changed it. Returns
/// the task status, the process's exit status.
std::int32_t toolMain(int argc, const char* const argv[], uid_t realUserID);

} // namespace orvane
