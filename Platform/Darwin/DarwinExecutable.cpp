#include "Platform/Executable.h"

#include <array>
#include <crt_externs.h>
#include <cstdint>
#include <cstdio>
#include <libproc.h>
#include <sys/proc_info.h>
#include <unistd.h>

namespace orvane {

namespace {

class DarwinExecutable final : public Executable {
  public:
    std::optional<std::string> executablePath() override {
        // The kernel's own record of what was executed: _NSGetExecutablePath repeats what the caller passed
        // to exec.
        std::array<char, PROC_PIDPATHINFO_MAXSIZE> path;
        const int length = ::proc_pidpath(::getpid(), path.data(), static_cast<std::uint32_t>(path.size()));
        if (length <= 0) {
            return std::nullopt;
        }
        return std::string(path.data(), static_cast<std::size_t>(length));
    }

    std::optional<std::string> executableReference() override {
        // Which file is mapped where this program's header lies; the volume file system then names it by
        // number.
        proc_regionwithpathinfo region = {};
        const auto header = reinterpret_cast<std::uintptr_t>(::_NSGetMachExecuteHeader());
        const int size =
            ::proc_pidinfo(::getpid(), PROC_PIDREGIONPATHINFO, header, &region, static_cast<int>(sizeof region));
        if (size != static_cast<int>(sizeof region)) {
            return std::nullopt;
        }
        const vinfo_stat& file = region.prp_vip.vip_vi.vi_stat;
        std::array<char, 64> reference;
        std::snprintf(reference.data(), reference.size(), "/.vol/%lu/%llu", static_cast<unsigned long>(file.vst_dev),
                      static_cast<unsigned long long>(file.vst_ino));
        if (::access(reference.data(), F_OK) != 0) {
            return std::nullopt;
        }
        return std::string(reference.data());
    }
};

} // namespace

Executable& Executable::current() {
    static constinit DarwinExecutable executable;
    return executable;
}

} // namespace orvane
