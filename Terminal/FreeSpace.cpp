#include "Terminal/FreeSpace.h"

#include <algorithm>
#include <sys/statvfs.h>

namespace orvane::terminal {

namespace {

std::optional<struct statvfs> fileSystemAt(const std::string& path) {
    struct statvfs status = {};
    return ::statvfs(path.c_str(), &status) == 0 ? std::optional(status) : std::nullopt;
}

std::uint64_t freeOf(const struct statvfs& status) {
    return static_cast<std::uint64_t>(status.f_bfree) * status.f_frsize;
}

} // namespace

std::optional<std::uint64_t> freeBytesAt(const std::string& path) {
    const auto status = fileSystemAt(path);
    return status ? std::optional(static_cast<std::uint64_t>(status->f_bavail) * status->f_frsize) : std::nullopt;
}

void FreeSpace::watch(const std::string& folder, dev_t device) {
    if (std::none_of(places_.begin(), places_.end(), [device](const Place& place) { return place.device == device; })) {
        places_.push_back({folder, device, 0, 0, false});
    }
}

void FreeSpace::start() {
    for (Place& place : places_) {
        const auto status = fileSystemAt(place.folder);
        place.isKnown = status.has_value();
        if (status) {
            place.before = freeOf(*status);
            place.total = static_cast<std::uint64_t>(status->f_blocks) * status->f_frsize;
        }
    }
}

std::int64_t FreeSpace::freed() const {
    struct Change {
        const Place* place;
        std::int64_t bytes;
    };
    std::vector<Change> changes;
    std::int64_t sum = 0;
    for (const Place& place : places_) {
        const auto status = place.isKnown ? fileSystemAt(place.folder) : std::nullopt;
        if (!status) {
            continue;
        }
        const Change change = {&place, static_cast<std::int64_t>(freeOf(*status) - place.before)};
        // The volumes of one container show the same numbers.
        const bool isShared = std::any_of(changes.begin(), changes.end(), [&change](const Change& other) {
            return other.place->before == change.place->before && other.place->total == change.place->total &&
                   other.bytes == change.bytes;
        });
        if (!isShared) {
            changes.push_back(change);
            sum += change.bytes;
        }
    }
    return sum;
}

} // namespace orvane::terminal
