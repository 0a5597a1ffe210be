#include "Platform/FileProtection.h"

#include <cerrno>

namespace orvane {

FileProtection& FileProtection::platform() {
    class DarwinFileProtection final : public FileProtection {
      public:
        std::int32_t errorOfRemoval(const struct stat& status, bool byRoot) override {
            constexpr unsigned kNoUnlink = 0x00100000; // SF_NOUNLINK, which older headers lack
            const unsigned forAll = SF_IMMUTABLE | SF_APPEND | kNoUnlink;
            const unsigned protecting = byRoot ? forAll : forAll | UF_IMMUTABLE | UF_APPEND;
            return (status.st_flags & protecting) != 0 ? EPERM : 0;
        }
    };
    static constinit DarwinFileProtection protection;
    return protection;
}

} // namespace orvane
