#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskLines.h"
#include "Tasks/OVTaskRunner.h"

#include <utility>

namespace orvane {

constexpr const char* const kOVSecureEraseFreeSpaceTempFilename = lines::kSecureEraseTemp.data();

namespace {

constexpr const char* kDiskUtility = "/usr/sbin/diskutil";

} // namespace

std::int32_t OVTaskRunner::repairDiskPermissions() {
    return runCommand(kDiskUtility, {"repairPermissions", "/"});
}

std::int32_t OVTaskRunner::repairVolume(const std::string& volume) {
    return runCommand(kDiskUtility, {"repairVolume", volume});
}

std::int32_t OVTaskRunner::ejectVolume(const std::string& path) {
    return runCommand(kDiskUtility, {"unmount", path});
}

std::string OVTaskRunner::secureEraseFreeSpaceCommand(std::string_view path) {
    const std::string filler = stringByAppendingPathComponent(path, kOVSecureEraseFreeSpaceTempFilename);
    return stringWithFormat(lines::kSecureEraseFreeSpace, {filler, filler, filler});
}

std::int32_t OVTaskRunner::secureEraseFreeSpace(std::string_view path) {
    return runBashCommand(secureEraseFreeSpaceCommand(path));
}

std::int32_t OVTaskRunner::ejectAllVolumes() {
    const auto volumes = mountedBrowsableVolumes();
    for (const OVVolumeDictionary& volume : volumes.value_or(std::vector<OVVolumeDictionary>())) {
        if (static_cast<std::uint32_t>(volume.owner) != services_.calls.getuid()) {
            continue;
        }
        if (const std::int32_t status = ejectVolume(volume.path); status != kTaskSuccess) {
            return status;
        }
    }
    return kTaskSuccess;
}

std::optional<std::vector<OVVolumeDictionary>> OVTaskRunner::mountedBrowsableVolumes() {
    auto mounted = services_.volumes.mountedFileSystems();
    if (!mounted) {
        OVLog("No volumes found");
        return std::nullopt;
    }
    std::vector<OVVolumeDictionary> volumes;
    volumes.reserve(mounted->size());
    for (MountedFileSystem& fileSystem : *mounted) {
        if ((fileSystem.flags & (kMountDontBrowse | kMountRootFileSystem)) == 0) {
            const std::uint64_t blockSize = fileSystem.blockSize;
            volumes.push_back({.path = std::move(fileSystem.mountPoint),
                               .owner = fileSystem.owner,
                               .isLocal = (fileSystem.flags & kMountLocal) != 0,
                               .totalSpace = blockSize * fileSystem.blocks,
                               .freeSpace = blockSize * fileSystem.availableBlocks});
        }
    }
    return volumes;
}

} // namespace orvane
