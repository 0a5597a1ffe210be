#include "Platform/Linux/MountTable.h"

#include "Platform/Volumes.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstddef>
#include <utility>

namespace orvane {

namespace {

struct KnownType {
    std::string_view name;
    FileSystemKind kind;
};

constexpr bool comesBefore(const KnownType& one, const KnownType& other) {
    return one.name < other.name;
}

using enum FileSystemKind;

/// All that are not ordinary, by name.
constexpr std::array kKnownTypes = std::to_array<KnownType>({
    {"9p", kNetwork},
    {"afs", kNetwork},
    {"anon_inodefs", kPseudo},
    {"autofs", kPseudo},
    {"bdev", kPseudo},
    {"beegfs", kNetwork},
    {"binder", kPseudo},
    {"binfmt_misc", kPseudo},
    {"bpf", kPseudo},
    {"ceph", kNetwork},
    {"cgroup", kPseudo},
    {"cgroup2", kPseudo},
    {"cifs", kNetwork},
    {"coda", kNetwork},
    {"configfs", kPseudo},
    {"cpuset", kPseudo},
    {"davfs", kNetwork},
    {"debugfs", kPseudo},
    {"devpts", kPseudo},
    {"devtmpfs", kPseudo},
    {"efivarfs", kPseudo},
    {"fuse.ceph", kNetwork},
    {"fuse.ceph-fuse", kNetwork},
    {"fuse.curlftpfs", kNetwork},
    {"fuse.davfs2", kNetwork},
    {"fuse.glusterfs", kNetwork},
    {"fuse.gvfsd-fuse", kPseudo},
    {"fuse.mfs", kNetwork},
    {"fuse.nfs", kNetwork},
    {"fuse.portal", kPseudo},
    {"fuse.rclone", kNetwork},
    {"fuse.s3fs", kNetwork},
    {"fuse.smbnetfs", kNetwork},
    {"fuse.sshfs", kNetwork},
    {"fusectl", kPseudo},
    {"gpfs", kNetwork},
    {"hugetlbfs", kPseudo},
    {"lustre", kNetwork},
    {"mqueue", kPseudo},
    {"ncp", kNetwork},
    {"ncpfs", kNetwork},
    {"nfs", kNetwork},
    {"nfs4", kNetwork},
    {"nfsd", kPseudo},
    {"nsfs", kPseudo},
    {"orangefs", kNetwork},
    {"pipefs", kPseudo},
    {"proc", kPseudo},
    {"pstore", kPseudo},
    {"pvfs2", kNetwork},
    {"ramfs", kMemory},
    {"resctrl", kPseudo},
    {"rootfs", kPseudo},
    {"rpc_pipefs", kPseudo},
    {"securityfs", kPseudo},
    {"selinuxfs", kPseudo},
    {"smackfs", kPseudo},
    {"smb3", kNetwork},
    {"smbfs", kNetwork},
    {"sockfs", kPseudo},
    {"sysfs", kPseudo},
    {"tmpfs", kMemory},
    {"tracefs", kPseudo},
});
static_assert(std::is_sorted(kKnownTypes.begin(), kKnownTypes.end(), comesBefore));

FileSystemKind kindOf(std::string_view type) {
    const auto found =
        std::lower_bound(kKnownTypes.begin(), kKnownTypes.end(), KnownType{type, kOrdinary}, comesBefore);
    return found != kKnownTypes.end() && found->name == type ? found->kind : kOrdinary;
}

/// Whether a memory file system at the place is part of the machinery; elsewhere somebody has put it up as a volume.
bool isInSystemFolder(std::string_view place) {
    const std::string_view folder = place.substr(1, place.find('/', 1) - 1);
    return folder == "dev" || folder == "proc" || folder == "run" || folder == "sys" || folder == "tmp" ||
           folder == "var";
}

/// Takes the text up to the separator, or all of it, off the front.
std::string_view takeField(std::string_view& text, char separator) {
    const std::size_t end = text.find(separator);
    const std::string_view field = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return field;
}

bool isOctal(char c) {
    return c >= '0' && c <= '7';
}

/// The kernel writes blanks, tabs, newlines and backslashes as "\" and three octal digits.
std::string decoded(std::string_view field) {
    const std::size_t first = field.find('\\');
    std::string text(field.substr(0, first));
    for (std::size_t index = text.size(); index < field.size(); ++index) {
        const std::string_view digits = field.substr(index + 1, 3);
        if (field[index] == '\\' && digits.size() == 3 && digits[0] <= '3' &&
            std::all_of(digits.begin(), digits.end(), isOctal)) {
            text.push_back(static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0')));
            index += 3;
        } else {
            text.push_back(field[index]);
        }
    }
    return text;
}

template <typename Number> std::optional<Number> number(std::string_view text) {
    Number value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

/// Whether the line is a record, which it then has filled.
bool parseMountInfoLine(std::string_view line, MountRecord& record) {
    // 36 35 98:0 /root /mount/point rw,noatime shared:1 master:2 - ext4 /dev/sda1 rw,errors=continue
    const auto mountID = number<std::int64_t>(takeField(line, ' '));
    const auto parentID = number<std::int64_t>(takeField(line, ' '));
    takeField(line, ' ');
    takeField(line, ' ');
    const std::string_view mountPoint = takeField(line, ' ');
    record.mountOptions = takeField(line, ' ');
    std::string_view optional = takeField(line, ' ');
    while (optional != "-") {
        if (line.empty()) {
            return false;
        }
        optional = takeField(line, ' ');
    }
    record.fileSystemType = takeField(line, ' ');
    takeField(line, ' ');
    record.superOptions = takeField(line, ' ');
    if (!mountID || !parentID || !mountPoint.starts_with('/') || record.fileSystemType.empty()) {
        return false;
    }
    record.mountID = *mountID;
    record.parentID = *parentID;
    record.mountPoint = decoded(mountPoint);
    return true;
}

/// Calls `use` with each option; most lists need not be taken apart, having nothing like `part` in them.
template <typename Use> void forEachOption(const MountRecord& record, std::string_view part, Use use) {
    for (std::string_view rest : {record.mountOptions, record.superOptions, std::string_view(record.userOptions)}) {
        if (rest.find(part) == std::string_view::npos) {
            continue;
        }
        while (!rest.empty()) {
            use(takeField(rest, ','));
        }
    }
}

bool hasOption(const MountRecord& record, std::string_view option) {
    bool found = false;
    forEachOption(record, option, [&](std::string_view one) { found = found || one == option; });
    return found;
}

bool isHidden(const MountRecord& record) {
    return record.kind == kPseudo || (record.kind == kMemory && isInSystemFolder(record.mountPoint)) ||
           hasOption(record, "x-gvfs-hide");
}

/// Lists of records that have a number in common; a list may hold others, too.
class Lists {
  public:
    explicit Lists(std::size_t records) : first_(std::bit_ceil(records + 1)), next_(records) {}

    /// Adds a record, each in front of those before.
    void add(std::size_t record, std::uint64_t number) {
        std::uint32_t& first = first_[listOf(number)];
        next_[record] = first;
        first = static_cast<std::uint32_t>(record + 1);
    }

    /// The first one in the number's list that `isIt`; nothing when there is none.
    template <typename Test> [[nodiscard]] std::optional<std::size_t> find(std::uint64_t number, Test isIt) const {
        for (std::uint32_t one = first_[listOf(number)]; one != 0; one = next_[one - 1]) {
            if (isIt(one - 1)) {
                return one - 1;
            }
        }
        return std::nullopt;
    }

  private:
    [[nodiscard]] std::size_t listOf(std::uint64_t number) const {
        return static_cast<std::size_t>(number * 0x9E3779B97F4A7C15U >> 32U) & (first_.size() - 1);
    }

    std::vector<std::uint32_t> first_; ///< a record and 1; 0 is the end
    std::vector<std::uint32_t> next_;
};

/// The index of the mount that each one stands on; the number of all for none.
std::vector<std::size_t> parentsOf(const std::vector<MountRecord>& records) {
    Lists byNumber(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        byNumber.add(index, static_cast<std::uint64_t>(records[index].mountID));
    }
    std::vector<std::size_t> parents(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        const std::int64_t parent = records[index].parentID;
        parents[index] = byNumber
                             .find(static_cast<std::uint64_t>(parent),
                                   [&](std::size_t other) { return records[other].mountID == parent; })
                             .value_or(records.size());
    }
    return parents;
}

/// Tells whether a mount lies over the place of another. Those that stand on the same mount with places of one length
/// make a list: few of its members are above others.
class PlacesOnMounts {
  public:
    explicit PlacesOnMounts(const std::vector<MountRecord>& records) : records_(records), lists_(records.size()) {
        for (std::size_t index = 0; index < records.size(); ++index) {
            lists_.add(index, numberOf(records[index].parentID, records[index].mountPoint.size()));
        }
    }

    /// Whether another mount stands on the same one as this, on a folder above its place.
    [[nodiscard]] bool coverPlaceOf(const MountRecord& record) const {
        const std::string_view place = record.mountPoint;
        if (place.size() > 1 && hold(record.parentID, "/")) {
            return true;
        }
        std::size_t slash = place.find('/', 1);
        while (slash != std::string_view::npos && !hold(record.parentID, place.substr(0, slash))) {
            slash = place.find('/', slash + 1);
        }
        return slash != std::string_view::npos;
    }

  private:
    static std::uint64_t numberOf(std::int64_t mountID, std::size_t length) {
        return static_cast<std::uint64_t>(mountID) * 4096 + length;
    }

    [[nodiscard]] bool hold(std::int64_t mountID, std::string_view place) const {
        return lists_
            .find(numberOf(mountID, place.size()),
                  [&](std::size_t index) {
                      return records_[index].parentID == mountID && records_[index].mountPoint == place;
                  })
            .has_value();
    }

    const std::vector<MountRecord>& records_;
    Lists lists_;
};

} // namespace

std::vector<MountRecord> parseMountInfo(std::string_view text) {
    std::vector<MountRecord> records;
    records.reserve(1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')));
    const MountRecord* previous = nullptr;
    while (!text.empty()) {
        MountRecord& record = records.emplace_back();
        if (!parseMountInfoLine(takeField(text, '\n'), record)) {
            records.pop_back();
            continue;
        }
        const bool isLikePrevious = previous != nullptr && previous->fileSystemType == record.fileSystemType;
        record.kind = isLikePrevious ? previous->kind : kindOf(record.fileSystemType);
        previous = &record; // stays in place: there is room for all
    }
    return records;
}

void addUserOptions(std::vector<MountRecord>& records, std::string_view utab) {
    while (!utab.empty()) {
        // ID=36 SRC=/dev/sda1 TARGET=/mount/point ROOT=/ OPTS=x-gvfs-hide,uhelper=udisks2
        std::string_view line = takeField(utab, '\n');
        std::optional<std::int64_t> mountID;
        std::string target;
        std::string_view options;
        while (!line.empty()) {
            std::string_view field = takeField(line, ' ');
            const std::string_view key = takeField(field, '=');
            if (key == "ID") {
                mountID = number<std::int64_t>(field);
            } else if (key == "TARGET") {
                target = decoded(field);
            } else if (key == "OPTS") {
                options = field;
            }
        }
        const auto record = std::find_if(records.rbegin(), records.rend(), [&](const auto& candidate) {
            return candidate.mountPoint == target && (!mountID || candidate.mountID == *mountID);
        });
        if (record != records.rend()) {
            record->userOptions.append(1, ',').append(options);
        }
    }
}

std::uint32_t mountFlags(const MountRecord& record) {
    std::uint32_t flags = 0;
    if (hasOption(record, "nosuid")) {
        flags |= kMountNoSetUserID;
    }
    if (record.mountPoint == "/") {
        flags |= kMountRootFileSystem;
    }
    if (record.kind != kNetwork) {
        flags |= kMountLocal;
    }
    if (isHidden(record)) {
        flags |= kMountDontBrowse;
    }
    return flags;
}

bool mayNotAnswer(const MountRecord& record) {
    return record.kind == kNetwork || record.fileSystemType.starts_with("fuse");
}

std::optional<std::uint32_t> mountingUser(const MountRecord& record) {
    std::optional<std::uint32_t> server;
    std::optional<std::uint32_t> owner;
    forEachOption(record, "id=", [&](std::string_view option) {
        for (const auto& [key, user] : {std::pair(std::string_view("user_id="), &server), {"uid=", &owner}}) {
            if (!*user && option.starts_with(key)) {
                *user = number<std::uint32_t>(option.substr(key.size()));
            }
        }
    });
    return server ? server : owner;
}

std::vector<bool> coveredMounts(const std::vector<MountRecord>& records) {
    const PlacesOnMounts places(records);
    const std::vector<std::size_t> parents = parentsOf(records);
    // A mount on its own root, or a later one on a folder above its place.
    std::vector<bool> rootCovered(records.size());
    std::vector<bool> placeCovered(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        const std::size_t parent = parents[index];
        if (parent != records.size() && parent != index && records[parent].mountPoint == records[index].mountPoint) {
            rootCovered[parent] = true;
        }
        placeCovered[index] = places.coverPlaceOf(records[index]);
    }
    // And what stands on such a mount; only the mount that covers a root does not stand beneath itself.
    std::vector<bool> result(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        bool covered = rootCovered[index] || placeCovered[index];
        std::size_t child = index;
        for (std::size_t steps = 0; steps < records.size() && !covered; ++steps) {
            const std::size_t parent = parents[child];
            if (parent == records.size() || parent == child) {
                break;
            }
            covered = placeCovered[parent] ||
                      (rootCovered[parent] && records[child].mountPoint != records[parent].mountPoint);
            child = parent;
        }
        result[index] = covered;
    }
    return result;
}

} // namespace orvane
