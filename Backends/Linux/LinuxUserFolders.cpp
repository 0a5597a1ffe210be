#include "Platform/UserFolders.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"

#include <cstdlib>
#include <unistd.h>

namespace orvane {

namespace {

/// As the XDG base directories have it: a variable that is no absolute path counts as not set.
class LinuxUserFolders final : public UserFolders {
  public:
    std::optional<std::string> recordFolder(std::string_view program) override {
        const char* const asked = std::getenv("XDG_STATE_HOME"); // NOLINT(concurrency-mt-unsafe): only read
        std::optional<std::string> folder;
        if (asked != nullptr && *asked == '/') {
            folder = asked;
        } else if ((folder = homeDirectoryOfUser(::getuid()))) {
            folder->append("/.local/state");
        }
        if (folder) {
            folder->append("/").append(lowercaseString(program));
        }
        return folder;
    }
};

} // namespace

UserFolders& UserFolders::platform() {
    static constinit LinuxUserFolders folders;
    return folders;
}

} // namespace orvane
