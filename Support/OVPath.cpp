#include "Support/OVPath.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <pwd.h>
#include <vector>

namespace orvane {

namespace {

/// Asks one of the reentrant look-ups (`getpwuid_r`, `getpwnam_r`), with more room as long as it wants more.
template <typename LookUp> std::optional<std::string> homeDirectory(LookUp lookUp) {
    constexpr std::size_t kMostRoom = std::size_t{1} << 24U;
    std::vector<char> room(4096);
    while (true) {
        passwd account = {};
        passwd* found = nullptr;
        const int error = lookUp(&account, room.data(), room.size(), &found);
        if (error == ERANGE && room.size() < kMostRoom) {
            room.resize(room.size() * 2);
        } else if (error != EINTR) {
            return error == 0 && found != nullptr && account.pw_dir != nullptr
                       ? std::optional<std::string>(account.pw_dir)
                       : std::nullopt;
        }
    }
}

} // namespace

std::string lastPathComponent(std::string_view path) {
    const std::size_t end = path.find_last_not_of('/');
    if (end == std::string_view::npos) {
        return path.empty() ? "" : "/";
    }
    path = path.substr(0, end + 1);
    return std::string(path.substr(path.rfind('/') + 1)); // from the start where there is none
}

std::string stringByAppendingPathComponent(std::string_view path, std::string_view component) {
    std::string result;
    result.reserve(path.size() + component.size() + 1);
    result.append(path).append(path.empty() || component.empty() ? "" : "/").append(component);
    const auto areSlashes = [](char first, char second) { return first == '/' && second == '/'; };
    result.erase(std::unique(result.begin(), result.end(), areSlashes), result.end());
    if (result.size() > 1 && result.back() == '/') {
        result.pop_back();
    }
    return result;
}

std::string stringByExpandingTildeInPath(std::string_view path, SystemCalls& calls) {
    if (!path.starts_with('~')) {
        return std::string(path);
    }
    const std::string_view name = path.substr(1, path.find('/') - 1);
    const auto userNamed = [user = std::string(name)](passwd* account, char* room, std::size_t size, passwd** found) {
        return ::getpwnam_r(user.c_str(), account, room, size, found);
    };
    const auto home = name.empty() ? homeDirectoryOfUser(calls.getuid()) : homeDirectory(userNamed);
    return home ? stringByAppendingPathComponent(*home, path.substr(name.size() + 1)) : std::string(path);
}

std::optional<std::string> homeDirectoryOfUser(uid_t userID) {
    return homeDirectory([=](passwd* account, char* room, std::size_t size, passwd** found) {
        return ::getpwuid_r(userID, account, room, size, found);
    });
}

} // namespace orvane
