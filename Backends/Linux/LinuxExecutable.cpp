#include "Platform/Executable.h"

#include <array>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <sys/auxv.h>
#include <unistd.h>

namespace orvane {

namespace {

constexpr const char* kSelf = "/proc/self/exe";

class LinuxExecutable final : public Executable {
  public:
    std::optional<std::string> executablePath() override {
        std::array<char, PATH_MAX> path = {};
        const ssize_t length = ::readlink(kSelf, path.data(), path.size());
        if (length > 0 && static_cast<std::size_t>(length) < path.size()) {
            return std::string(path.data(), static_cast<std::size_t>(length));
        }
        // Without /proc there is the name that exec was given. It is the caller's word, so a privileged start
        // has none.
        if (::getauxval(AT_SECURE) == 0) {
            // NOLINTNEXTLINE(performance-no-int-to-ptr): the kernel hands the pointer over as a number
            const auto* const name = reinterpret_cast<const char*>(::getauxval(AT_EXECFN));
            if (name != nullptr && ::realpath(name, path.data()) != nullptr) {
                return std::string(path.data());
            }
        }
        return std::nullopt;
    }

    int openExecutable() override {
        // The link is the file itself, not its name: it follows a rename and cannot be redirected.
        return ::open(kSelf, O_RDONLY | O_CLOEXEC);
    }
};

} // namespace

Executable& Executable::current() {
    static constinit LinuxExecutable executable;
    return executable;
}

} // namespace orvane
