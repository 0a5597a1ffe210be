#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace orvane::terminal {

/// Bytes that are free for a user in the file system that holds the path; nothing when it does not tell.
std::optional<std::uint64_t> freeBytesAt(const std::string& path);

/// How much space becomes free while a task runs, measured at the file systems that it works on.
class FreeSpace {
  public:
    /// Adds the file system that holds the folder, once.
    void watch(const std::string& folder, dev_t device);

    /// From now on.
    void start();

    /// Bytes more that are free than at the start; negative when there are fewer. Volumes that share their space count
    /// once.
    [[nodiscard]] std::int64_t freed() const;

  private:
    struct Place {
        std::string folder;
        dev_t device;
        std::uint64_t before;
        std::uint64_t total;
        bool isKnown;
    };
    std::vector<Place> places_;
};

} // namespace orvane::terminal
