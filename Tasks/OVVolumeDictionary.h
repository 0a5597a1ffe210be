#pragma once

#include <cstdint>
#include <string>

namespace orvane {

// The keys of a volume dictionary, each with its own name as value.
inline constexpr const char* OVVolumePath = "OVVolumePath";
inline constexpr const char* OVVolumeOwner = "OVVolumeOwner";
inline constexpr const char* OVVolumeIsLocal = "OVVolumeIsLocal";
inline constexpr const char* OVVolumeTotalSpace = "OVVolumeTotalSpace";
inline constexpr const char* OVVolumeFreeSpace = "OVVolumeFreeSpace";

/// One mounted volume, with exactly the five keys above.
struct OVVolumeDictionary {
    std::string path;             ///< the mount point
    std::uint64_t owner = 0;      ///< the id of the user who mounted it
    bool isLocal = false;         ///< whether its files are on this machine
    std::uint64_t totalSpace = 0; ///< bytes in all
    std::uint64_t freeSpace = 0;  ///< bytes that a user other than root may still fill

    bool operator==(const OVVolumeDictionary&) const = default;

    /// Calls `use(key, object)` for each key, by name.
    template <typename Use> void forEachObject(const Use& use) const {
        use(OVVolumeFreeSpace, freeSpace);
        use(OVVolumeIsLocal, isLocal);
        use(OVVolumeOwner, owner);
        use(OVVolumePath, path);
        use(OVVolumeTotalSpace, totalSpace);
    }
};

} // namespace orvane
