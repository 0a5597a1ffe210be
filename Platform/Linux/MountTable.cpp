#include "Platform/Linux/MountTable.h"

#include "Platform/Volumes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <map>

namespace orvane {

namespace {

template <std::size_t count> bool contains(const std::array<std::string_view, count>& sorted, std::string_view name) {
    return std::binary_search(sorted.begin(), sorted.end(), name);
}

/// File systems that hold no files of anybody's: the kernel's own views and switches.
constexpr std::array<std::string_view, 31> kPseudoTypes = {
    "anon_inodefs", "autofs",     "bdev",      "binder",  "binfmt_misc", "bpf",      "cgroup",  "cgroup2",
    "configfs",     "cpuset",     "debugfs",   "devpts",  "devtmpfs",    "efivarfs", "fusectl", "hugetlbfs",
    "mqueue",       "nfsd",       "nsfs",      "pipefs",  "proc",        "pstore",   "resctrl", "rootfs",
    "rpc_pipefs",   "securityfs", "selinuxfs", "smackfs", "sockfs",      "sysfs",    "tracefs"};

/// File systems whose files are on another machine.
constexpr std::array<std::string_view, 17> kNetworkTypes = {"9p",    "afs",      "beegfs", "ceph", "cifs",  "coda",
                                                            "davfs", "gpfs",     "lustre", "ncp",  "ncpfs", "nfs",
                                                            "nfs4",  "orangefs", "pvfs2",  "smb3", "smbfs"};

constexpr std::array<std::string_view, 11> kNetworkFuseTypes = {
    "fuse.ceph", "fuse.ceph-fuse", "fuse.curlftpfs", "fuse.davfs2",   "fuse.glusterfs", "fuse.mfs",
    "fuse.nfs",  "fuse.rclone",    "fuse.s3fs",      "fuse.smbnetfs", "fuse.sshfs"};

static_assert(std::is_sorted(kPseudoTypes.begin(), kPseudoTypes.end()));
static_assert(std::is_sorted(kNetworkTypes.begin(), kNetworkTypes.end()));
static_assert(std::is_sorted(kNetworkFuseTypes.begin(), kNetworkFuseTypes.end()));

/// Where a memory file system is part of the machinery; elsewhere somebody has put it up as a volume.
constexpr std::array<std::string_view, 6> kSystemFolders = {"/dev", "/proc", "/run", "/sys", "/tmp", "/var"};

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
    std::string text;
    text.reserve(field.size());
    for (std::size_t index = 0; index < field.size(); ++index) {
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

void addOptions(std::vector<std::string>& options, std::string_view list) {
    while (!list.empty()) {
        options.push_back(decoded(takeField(list, ',')));
    }
}

std::optional<MountRecord> parseMountInfoLine(std::string_view line) {
    // 36 35 98:0 /root /mount/point rw,noatime shared:1 master:2 - ext4 /dev/sda1 rw,errors=continue
    MountRecord record;
    const auto mountID = number<std::int64_t>(takeField(line, ' '));
    const auto parentID = number<std::int64_t>(takeField(line, ' '));
    takeField(line, ' ');
    takeField(line, ' ');
    record.mountPoint = decoded(takeField(line, ' '));
    addOptions(record.options, takeField(line, ' '));
    std::string_view optional = takeField(line, ' ');
    while (optional != "-") {
        if (line.empty()) {
            return std::nullopt;
        }
        optional = takeField(line, ' ');
    }
    record.fileSystemType = decoded(takeField(line, ' '));
    takeField(line, ' ');
    addOptions(record.options, takeField(line, ' '));
    if (!mountID || !parentID || !record.mountPoint.starts_with('/') || record.fileSystemType.empty()) {
        return std::nullopt;
    }
    record.mountID = *mountID;
    record.parentID = *parentID;
    return record;
}

bool isAtOrUnder(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || folder == "/" || path[folder.size()] == '/');
}

bool hasOption(const MountRecord& record, std::string_view option) {
    return std::find(record.options.begin(), record.options.end(), option) != record.options.end();
}

bool isHidden(const MountRecord& record) {
    if (contains(kPseudoTypes, record.fileSystemType) || hasOption(record, "x-gvfs-hide") ||
        record.fileSystemType == "fuse.gvfsd-fuse" || record.fileSystemType == "fuse.portal") {
        return true;
    }
    const bool inMemory = record.fileSystemType == "tmpfs" || record.fileSystemType == "ramfs";
    return inMemory && std::any_of(kSystemFolders.begin(), kSystemFolders.end(),
                                   [&](auto folder) { return isAtOrUnder(record.mountPoint, folder); });
}

} // namespace

std::vector<MountRecord> parseMountInfo(std::string_view text) {
    std::vector<MountRecord> records;
    while (!text.empty()) {
        if (auto record = parseMountInfoLine(takeField(text, '\n'))) {
            records.push_back(std::move(*record));
        }
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
            addOptions(record->options, options);
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
    if (!contains(kNetworkTypes, record.fileSystemType) && !contains(kNetworkFuseTypes, record.fileSystemType)) {
        flags |= kMountLocal;
    }
    if (isHidden(record)) {
        flags |= kMountDontBrowse;
    }
    return flags;
}

bool mayNotAnswer(const MountRecord& record) {
    return (mountFlags(record) & kMountLocal) == 0 || record.fileSystemType.starts_with("fuse");
}

std::optional<std::uint32_t> mountingUser(const MountRecord& record) {
    for (const std::string_view key : {"user_id=", "uid="}) {
        for (const std::string& option : record.options) {
            if (option.starts_with(key)) {
                if (const auto user = number<std::uint32_t>(std::string_view(option).substr(key.size()))) {
                    return user;
                }
            }
        }
    }
    return std::nullopt;
}

std::vector<bool> coveredMounts(const std::vector<MountRecord>& records) {
    std::map<std::int64_t, std::size_t> indexOfMount;
    std::map<std::int64_t, std::vector<std::size_t>> mountsOnParent;
    for (std::size_t index = 0; index < records.size(); ++index) {
        indexOfMount[records[index].mountID] = index;
        mountsOnParent[records[index].parentID].push_back(index);
    }
    // A mount on its own root, or a later one on a folder above its place.
    std::vector<bool> rootCovered(records.size());
    std::vector<bool> placeCovered(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        const MountRecord& record = records[index];
        const auto& children = mountsOnParent[record.mountID];
        rootCovered[index] = std::any_of(children.begin(), children.end(), [&](std::size_t other) {
            return other != index && records[other].mountPoint == record.mountPoint;
        });
        const auto& siblings = mountsOnParent[record.parentID];
        placeCovered[index] = std::any_of(siblings.begin(), siblings.end(), [&](std::size_t other) {
            return records[other].mountPoint != record.mountPoint &&
                   isAtOrUnder(record.mountPoint, records[other].mountPoint);
        });
    }
    // And what stands on such a mount; only the mount that covers a root does not stand beneath itself.
    std::vector<bool> result(records.size());
    for (std::size_t index = 0; index < records.size(); ++index) {
        bool covered = rootCovered[index] || placeCovered[index];
        std::size_t child = index;
        for (std::size_t steps = 0; steps < records.size() && !covered; ++steps) {
            const auto parent = indexOfMount.find(records[child].parentID);
            if (parent == indexOfMount.end() || parent->second == child) {
                break;
            }
            const bool isTheCover = records[child].mountPoint == records[parent->second].mountPoint;
            covered = placeCovered[parent->second] || (rootCovered[parent->second] && !isTheCover);
            child = parent->second;
        }
        result[index] = covered;
    }
    return result;
}

} // namespace orvane
