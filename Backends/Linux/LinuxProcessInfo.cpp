#include "Backends/Linux/LinuxProcessInfo.h"

#include "Backends/Posix/PosixProcessInfo.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {

namespace {

/// The paths of list files go into shell lines as they are.
bool isOneShellWord(std::string_view path) {
    constexpr std::string_view kPunctuation = "/._-+,:@%=";
    return std::all_of(path.begin(), path.end(), [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               static_cast<unsigned char>(c) >= 0x80 || kPunctuation.find(c) != std::string_view::npos;
    });
}

bool isRootsOwn(const std::string& path) {
    struct stat status = {};
    constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == 0 &&
           ((status.st_mode & kOthersWrite) == 0 || (status.st_mode & S_ISVTX) != 0);
}

bool isRootsOwnUpToTheTop(const std::string& realPath) {
    for (std::size_t slash = realPath.size(); slash != std::string::npos && slash != 0;
         slash = realPath.rfind('/', slash - 1)) {
        if (!isRootsOwn(realPath.substr(0, slash))) {
            return false;
        }
    }
    return isRootsOwn("/");
}

/// The sticky folder of the system.
constexpr const char* kCommonFolder = "/tmp";

class PrivilegedProcessInfo final : public PosixProcessInfo {
  public:
    std::string temporaryDirectory() override { return kCommonFolder; }
};

class LinuxProcessInfo final : public PosixProcessInfo {
  public:
    std::string temporaryDirectory() override {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): a host that changes its environment while threads run is
        // lost anyway
        const auto chosen = usableTemporaryDirectory(::secure_getenv("TMPDIR"), ::geteuid());
        return chosen.value_or(kCommonFolder);
    }
};

} // namespace

std::optional<std::string> usableTemporaryDirectory(const char* folder, uid_t effectiveUserID) {
    struct stat status = {};
    if (folder == nullptr || folder[0] != '/' || !isOneShellWord(folder) || ::stat(folder, &status) != 0 ||
        !S_ISDIR(status.st_mode)) {
        return std::nullopt;
    }
    if (effectiveUserID != 0) {
        return folder;
    }
    const std::unique_ptr<char, void (*)(void*)> real(::realpath(folder, nullptr), std::free);
    if (real == nullptr || !isOneShellWord(real.get()) || !isRootsOwnUpToTheTop(real.get())) {
        return std::nullopt;
    }
    return real.get();
}

ProcessInfo& ProcessInfo::platform() {
    static constinit LinuxProcessInfo info;
    return info;
}

ProcessInfo& ProcessInfo::privileged() {
    static constinit PrivilegedProcessInfo info;
    return info;
}

} // namespace orvane
