#pragma once

#include "Platform/Volumes.h"

#include <string_view>
#include <vector>

namespace orvane::test {

/// The volume on top of the others that are mounted there; null without one.
inline const MountedFileSystem* find(const std::vector<MountedFileSystem>& all, std::string_view place) {
    const MountedFileSystem* found = nullptr;
    for (const MountedFileSystem& one : all) {
        found = one.mountPoint == place ? &one : found;
    }
    return found;
}

} // namespace orvane::test
