#pragma once

#include "Platform/Bundle.h"
#include "Platform/Locale.h"

#include <string>
#include <vector>

namespace orvane {

/// The name of today's folder for what lies on the desktop, in the user's language.
std::string desktopArchiveName(Bundle& bundle, Locale& locale);

/// The arguments of "/usr/bin/find" that move what is visible on the desktop into the folder.
std::vector<std::string> desktopArchiveArguments(const std::string& desktop, const std::string& folder);

} // namespace orvane
