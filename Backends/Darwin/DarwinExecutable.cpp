#include "Backends/Posix/PosixDescriptors.h"
#include "Platform/Executable.h"

#include <array>
#include <cerrno>
#include <crt_externs.h>
#include <cstdint>
#include <fcntl.h>
#include <libproc.h>
#include <sys/proc_info.h>
#include <sys/stat.h>
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

    int openExecutable() override {
        const auto path = executablePath();
        // Which file is mapped where this program's header lies.
        proc_regionwithpathinfo region = {};
        const auto header = reinterpret_cast<std::uintptr_t>(::_NSGetMachExecuteHeader());
        const int size =
            ::proc_pidinfo(::getpid(), PROC_PIDREGIONPATHINFO, header, &region, static_cast<int>(sizeof region));
        if (!path || size != static_cast<int>(sizeof region)) {
            errno = ENOENT;
            return -1;
        }
        // Somebody else's fifo in its place must not make this wait.
        const int file = openCloseOnExec(path->c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK);
        const vinfo_stat& executed = region.prp_vip.vip_vi.vi_stat;
        struct stat opened = {};
        if (file != -1 &&
            (::fstat(file, &opened) != 0 || static_cast<std::uint32_t>(opened.st_dev) != executed.vst_dev ||
             static_cast<std::uint64_t>(opened.st_ino) != executed.vst_ino)) {
            ::close(file);
            errno = ESTALE;
            return -1;
        }
        return file;
    }
};

} // namespace

Executable& Executable::current() {
    static constinit DarwinExecutable executable;
    return executable;
}

} // namespace orvane
