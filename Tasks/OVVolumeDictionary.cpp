#include "Tasks/OVVolumeDictionary.h"

namespace orvane {

const char* const OVVolumePath = "OVVolumePath";
const char* const OVVolumeOwner = "OVVolumeOwner";
const char* const OVVolumeIsLocal = "OVVolumeIsLocal";
const char* const OVVolumeTotalSpace = "OVVolumeTotalSpace";
const char* const OVVolumeFreeSpace = "OVVolumeFreeSpace";

std::array<const char*, 5> OVVolumeDictionary::allKeys() {
    return {OVVolumeFreeSpace, OVVolumeIsLocal, OVVolumeOwner, OVVolumePath, OVVolumeTotalSpace};
}

std::optional<OVVolumeDictionary::Value> OVVolumeDictionary::objectForKey(std::string_view key) const {
    if (key == OVVolumePath) {
        return path_;
    }
    if (key == OVVolumeOwner) {
        return owner_;
    }
    if (key == OVVolumeIsLocal) {
        return isLocal_;
    }
    if (key == OVVolumeTotalSpace) {
        return totalSpace_;
    }
    if (key == OVVolumeFreeSpace) {
        return freeSpace_;
    }
    return std::nullopt;
}

} // namespace orvane
