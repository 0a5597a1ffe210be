#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

const char* const OVVolumePath = "OVVolumePath";
const char* const OVVolumeOwner = "OVVolumeOwner";
const char* const OVVolumeIsLocal = "OVVolumeIsLocal";
const char* const OVVolumeTotalSpace = "OVVolumeTotalSpace";
const char* const OVVolumeFreeSpace = "OVVolumeFreeSpace";

const char* const kOVSecureEraseFreeSpaceTempFilename = "secure-erase.temp";

namespace {

constexpr const char* kDiskUtility = "/usr/sbin/diskutil";

OVVolumeDictionary volumeDictionary(const MountedFileSystem& mounted) {
    const std::uint64_t blockSize = mounted.blockSize;
    return {
        {OVVolumePath, mounted.mountPoint},
        {OVVolumeOwner, std::uint64_t{mounted.owner}},
        {OVVolumeIsLocal, (mounted.flags & kMountLocal) != 0},
        {OVVolumeTotalSpace, blockSize * mounted.blocks},
        {OVVolumeFreeSpace, blockSize * mounted.availableBlocks},
    };
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
    const auto mounted = services_.volumes.mountedFileSystems();
    if (!mounted) {
        OVLog("No volumes found");
        return std::nullopt;
    }
    std::vector<OVVolumeDictionary> volumes;
    for (const MountedFileSystem& fileSystem : *mounted) {
        if ((fileSystem.flags & (kMountDontBrowse | kMountRootFileSystem)) == 0) {
            volumes.push_back(volumeDictionary(fileSystem));
        }
    }
    return volumes;
}

} // namespace orvane
