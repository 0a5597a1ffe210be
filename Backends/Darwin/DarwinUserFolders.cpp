#include "Platform/UserFolders.h"
#include "Support/OVPath.h"

#include <unistd.h>

namespace orvane {

namespace {

class DarwinUserFolders final : public UserFolders {
  public:
    std::optional<std::string> recordFolder(std::string_view program) override {
        std::optional<std::string> folder = homeDirectoryOfUser(::getuid());
        if (folder) {
            folder->append("/Library/Logs/").append(program);
        }
        return folder;
    }
};

} // namespace

UserFolders& UserFolders::platform() {
    static constinit DarwinUserFolders folders;
    return folders;
}

} // namespace orvane
