#include "Platform/FileProtection.h"

namespace orvane {

FileProtection& FileProtection::platform() {
    class LinuxFileProtection final : public FileProtection {
      public:
        std::int32_t errorOfRemoval(const struct stat& /*status*/, bool /*byRoot*/) override { return 0; }
    };
    static constinit LinuxFileProtection protection;
    return protection;
}

} // namespace orvane
