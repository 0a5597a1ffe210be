#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

namespace orvane {

// The keys of a volume dictionary, each with its own name as value.
extern const char* const OVVolumePath;       ///< text: the mount point
extern const char* const OVVolumeOwner;      ///< 64 bits: the id of the user who mounted it
extern const char* const OVVolumeIsLocal;    ///< boolean: whether its files are on this machine
extern const char* const OVVolumeTotalSpace; ///< 64 bits: bytes in all
extern const char* const OVVolumeFreeSpace;  ///< 64 bits: bytes that a user other than root may still fill

/// One mounted volume, with exactly the five keys above. It keeps plain fields: a list of volumes is asked for again
/// and again, and a tree of keys would cost more than the system calls behind it.
class OVVolumeDictionary {
  public:
    using Value = std::variant<std::string, std::uint64_t, bool>;

    OVVolumeDictionary(std::string path, std::uint64_t owner, bool isLocal, std::uint64_t totalSpace,
                       std::uint64_t freeSpace)
        : path_(std::move(path)), owner_(owner), totalSpace_(totalSpace), freeSpace_(freeSpace), isLocal_(isLocal) {}

    /// `allKeys`: by name.
    static std::array<const char*, 5> allKeys();

    /// `objectForKey:`: nothing for any other key.
    [[nodiscard]] std::optional<Value> objectForKey(std::string_view key) const;

    // The same without the detour.

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] std::uint64_t owner() const { return owner_; }
    [[nodiscard]] bool isLocal() const { return isLocal_; }
    [[nodiscard]] std::uint64_t totalSpace() const { return totalSpace_; }
    [[nodiscard]] std::uint64_t freeSpace() const { return freeSpace_; }

    bool operator==(const OVVolumeDictionary&) const = default;

  private:
    std::string path_;
    std::uint64_t owner_;
    std::uint64_t totalSpace_;
    std::uint64_t freeSpace_;
    bool isLocal_;
};

} // namespace orvane
