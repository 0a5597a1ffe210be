#include "Backends/Linux/MountTable.h"

#include "Platform/Volumes.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <unordered_map>
#include <unordered_set>
#include <utility>

namespace orvane {

namespace {

/// All that are not ordinary, with a blank on either side of each.
constexpr std::string_view kNetworkTypes =
    " 9p afs beegfs ceph cifs coda davfs fuse.ceph fuse.ceph-fuse fuse.curlftpfs fuse.davfs2 fuse.glusterfs fuse.mfs "
    "fuse.nfs fuse.rclone fuse.s3fs fuse.smbnetfs fuse.sshfs gpfs lustre ncp ncpfs nfs nfs4 orangefs pvfs2 smb3 smbfs ";
constexpr std::string_view kPseudoTypes =
    " anon_inodefs autofs bdev binder binfmt_misc bpf cgroup cgroup2 configfs cpuset debugfs devpts devtmpfs efivarfs "
    "fuse.gvfsd-fuse fuse.portal fusectl hugetlbfs mqueue nfsd nsfs pipefs proc pstore resctrl rootfs rpc_pipefs "
    "securityfs selinuxfs smackfs sockfs sysfs tracefs ";

FileSystemKind kindOf(std::string_view type) {
    const std::string word = " " + std::string(type) + " ";
    const auto isAmong = [&](std::string_view types) { return types.find(word) != std::string_view::npos; };
    return isAmong(kPseudoTypes)      ? FileSystemKind::kPseudo
           : isAmong(" ramfs tmpfs ") ? FileSystemKind::kMemory
           : isAmong(kNetworkTypes)   ? FileSystemKind::kNetwork
                                      : FileSystemKind::kOrdinary;
}

/// Whether a memory file system at the place is part of the machinery; elsewhere somebody has put it up as a volume.
bool isInSystemFolder(std::string_view place) {
    const std::string folder = std::string(place.substr(0, place.find('/', 1))) + "/";
    return std::string_view("/dev/proc/run/sys/tmp/var/").find(folder) != std::string_view::npos;
}

using Fields = std::vector<std::string_view>;

Fields split(std::string_view text, char separator) {
    Fields fields;
    for (std::size_t end = 0; end != std::string_view::npos;) {
        end = text.find(separator);
        fields.push_back(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? 0 : end + 1);
    }
    return fields;
}

/// The kernel writes blanks, tabs, newlines and backslashes as "\" and three octal digits.
std::string decoded(std::string_view field) {
    std::string text;
    for (std::size_t index = 0; index < field.size(); ++index) {
        const std::string_view digits = field.substr(index + 1, 3);
        const bool isEscape = field[index] == '\\' && digits.size() == 3 && digits[0] <= '3' &&
                              digits.find_first_not_of("01234567") == std::string_view::npos;
        text.push_back(isEscape ? static_cast<char>((digits[0] - '0') * 64 + (digits[1] - '0') * 8 + (digits[2] - '0'))
                                : field[index]);
        index += isEscape ? 3 : 0;
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

Fields optionsOf(const MountRecord& record) {
    Fields options;
    for (const std::string_view list :
         {record.mountOptions, record.superOptions, std::string_view(record.userOptions)}) {
        const Fields some = split(list, ',');
        options.insert(options.end(), some.begin(), some.end());
    }
    return options;
}

} // namespace

std::vector<MountRecord> parseMountInfo(std::string_view text) {
    std::vector<MountRecord> records;
    for (const std::string_view line : split(text, '\n')) {
        // 36 35 98:0 /root /mount/point rw,noatime shared:1 master:2 - ext4 /dev/sda1 rw,errors=continue
        const Fields fields = split(line, ' ');
        const auto dash =
            std::find(fields.begin() + std::min<std::ptrdiff_t>(6, std::ssize(fields)), fields.end(), "-");
        if (fields.end() - dash < 4 || dash[1].empty() || !fields[4].starts_with('/')) {
            continue;
        }
        const auto mountID = number<std::int64_t>(fields[0]);
        const auto parentID = number<std::int64_t>(fields[1]);
        if (mountID && parentID) {
            records.push_back(
                {*mountID, *parentID, decoded(fields[4]), dash[1], kindOf(dash[1]), fields[5], dash[3], {}});
        }
    }
    return records;
}

void addUserOptions(std::vector<MountRecord>& records, std::string_view utab) {
    for (const std::string_view line : split(utab, '\n')) {
        // ID=36 SRC=/dev/sda1 TARGET=/mount/point ROOT=/ OPTS=x-gvfs-hide,uhelper=udisks2
        std::optional<std::int64_t> mountID;
        std::string target;
        std::string_view options;
        for (const std::string_view field : split(line, ' ')) {
            if (field.starts_with("ID=")) {
                mountID = number<std::int64_t>(field.substr(3));
            } else if (field.starts_with("TARGET=")) {
                target = decoded(field.substr(7));
            } else if (field.starts_with("OPTS=")) {
                options = field.substr(5);
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
    const Fields options = optionsOf(record);
    const auto has = [&](std::string_view option) {
        return std::find(options.begin(), options.end(), option) != options.end();
    };
    const bool isHidden = record.kind == FileSystemKind::kPseudo ||
                          (record.kind == FileSystemKind::kMemory && isInSystemFolder(record.mountPoint)) ||
                          has("x-gvfs-hide");
    return (has("nosuid") ? kMountNoSetUserID : 0U) | (record.mountPoint == "/" ? kMountRootFileSystem : 0U) |
           (record.kind != FileSystemKind::kNetwork ? kMountLocal : 0U) | (isHidden ? kMountDontBrowse : 0U);
}

bool mayNotAnswer(const MountRecord& record) {
    return record.kind == FileSystemKind::kNetwork || record.fileSystemType.starts_with("fuse");
}

std::optional<std::uint32_t> mountingUser(const MountRecord& record) {
    std::optional<std::uint32_t> server;
    std::optional<std::uint32_t> owner;
    for (const std::string_view option : optionsOf(record)) {
        if (!server && option.starts_with("user_id=")) {
            server = number<std::uint32_t>(option.substr(8));
        } else if (!owner && option.starts_with("uid=")) {
            owner = number<std::uint32_t>(option.substr(4));
        }
    }
    return server ? server : owner;
}

std::vector<bool> coveredMounts(const std::vector<MountRecord>& records) {
    std::unordered_map<std::int64_t, const MountRecord*> byNumber;
    std::unordered_map<std::int64_t, std::unordered_set<std::string_view>> places; // of the mounts on each
    for (const MountRecord& record : records) {
        byNumber.emplace(record.mountID, &record);
        if (record.parentID != record.mountID) { // the first of all stands on itself
            places[record.parentID].insert(record.mountPoint);
        }
    }
    // By a mount on a folder above, on the same one.
    const auto isPlaceCovered = [&](const MountRecord& record) {
        for (std::string_view place = record.mountPoint; place.size() > 1;) {
            place = place.substr(0, std::max<std::size_t>(place.rfind('/'), 1));
            if (places[record.parentID].contains(place)) {
                return true;
            }
        }
        return false;
    };
    // By a mount on its own root; or its place is covered, or that of a mount beneath it. Records may go in a circle.
    std::vector<bool> result;
    for (const MountRecord& record : records) {
        bool covered = places[record.mountID].contains(record.mountPoint);
        const MountRecord* one = &record;
        for (std::size_t steps = 0; steps < records.size() && !covered && one != nullptr; ++steps) {
            covered = isPlaceCovered(*one);
            const auto parent = byNumber.find(one->parentID);
            one = parent != byNumber.end() ? parent->second : nullptr;
        }
        result.push_back(covered);
    }
    return result;
}

} // namespace orvane
