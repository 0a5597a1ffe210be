#pragma once

#include "Platform/Gestalt.h"

#include <cstdint>
#include <string>

namespace orvane {

/// The running system's version (`Gestalt`). A null pointer is skipped, each other receives its number. When the system
/// does not tell, that is logged and the version is 10.0.0.
void GetSystemVersion(std::int32_t* major, std::int32_t* minor, std::int32_t* bugFix,
                      Gestalt& gestalt = Gestalt::platform());

/// The version as "10.6.8".
std::string SystemVersionString(Gestalt& gestalt = Gestalt::platform());

/// Whether the system is 10.6 or a later 10. Deliberately no for 11 and on.
bool SystemIsSnowLeopardOrLater(Gestalt& gestalt = Gestalt::platform());

} // namespace orvane
