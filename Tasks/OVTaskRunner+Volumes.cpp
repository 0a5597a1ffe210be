#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Tasks/OVTaskRunner.h"

#include <utility>

namespace orvane {

const char* const OVVolumePath = "OVVolumePath";
const char* const OVVolumeOwner = "OVVolumeOwner";
const char* const OVVolumeIsLocal = "OVVolumeIsLocal";
const char* const OVVolumeTotalSpace = "OVVolumeTotalSpace";
const char* const OVVolumeFreeSpace = "OVVolumeFreeSpace";

const char* const kOVSecureEraseFreeSpaceTempFilename = "secure-erase.temp";

namespace {

constexpr const char* kDiskUtility = "/usr/sbin/diskutil";

void fill(OVVolumeDictionary& volume, MountedFileSystem&& mounted) {
    const std::uint64_t blockSize = mounted.blockSize;
    // In the order of the keys, so that each has its place at the end.
    const auto append = [&](const char* key, OVVolumeDictionary::mapped_type value) {
        volume.emplace_hint(volume.end(), key, std::move(value));
    };
    append(OVVolumeFreeSpace, blockSize * mounted.availableBlocks);
    append(OVVolumeIsLocal, (mounted.flags & kMountLocal) != 0);
    append(OVVolumeOwner, std::uint64_t{mounted.owner});
    append(OVVolumePath, std::move(mounted.mountPoint));
    append(OVVolumeTotalSpace, blockSize * mounted.blocks);
}

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
    const std::string trap = "trap '/bin/rm -fv \"" + filler + "\"' INT TERM EXIT";
    const std::string fill = "/bin/dd if=/dev/zero of=\"" + filler + "\" bs=1k";
    const std::string overwrite = "/usr/bin/srm -vfmr -- \"" + filler + "\"";
    return "(" + trap + "; " + fill + "; " + overwrite + ")";
}

std::int32_t OVTaskRunner::secureEraseFreeSpace(std::string_view path) {
    return runBashCommand(secureEraseFreeSpaceCommand(path));
}

std::int32_t OVTaskRunner::ejectAllVolumes() {
    const auto volumes = mountedBrowsableVolumes();
    if (!volumes) {
        return 0;
    }
    for (const OVVolumeDictionary& volume : *volumes) {
        const auto* const owner = std::get_if<std::uint64_t>(&volume.find(OVVolumeOwner)->second);
        const auto* const path = std::get_if<std::string>(&volume.find(OVVolumePath)->second);
        if (static_cast<std::uint32_t>(*owner) != services_.calls.getuid()) {
            continue;
        }
        if (const std::int32_t status = ejectVolume(*path); status != 0) {
            return status;
        }
    }
    return 0;
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
            fill(volumes.emplace_back(), std::move(fileSystem));
        }
    }
    return volumes;
}

} // namespace orvane
