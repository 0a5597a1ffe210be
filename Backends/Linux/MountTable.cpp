#include "Backends/Linux/MountTable.h"

#include "Platform/Volumes.h"

#include <algorithm>
#include <charconv>

namespace orvane {

namespace {

/// With a blank on either side of each.
constexpr std::string_view kNetworkTypes =
    " 9p afs beegfs ceph cifs coda davfs fuse.ceph fuse.ceph-fuse fuse.curlftpfs fuse.davfs2 fuse.glusterfs fuse.mfs "
    "fuse.nfs fuse.rclone fuse.s3fs fuse.smbnetfs fuse.sshfs gpfs lustre ncp ncpfs nfs nfs4 orangefs pvfs2 smb3 smbfs ";
/// No files of anybody's: the kernel's own views and switches, or the desktop's.
constexpr std::string_view kPseudoTypes =
    " anon_inodefs autofs bdev binder binfmt_misc bpf cgroup cgroup2 configfs cpuset debugfs devpts devtmpfs efivarfs "
    "fuse.gvfsd-fuse fuse.portal fusectl hugetlbfs mqueue nfsd nsfs pipefs proc pstore resctrl rootfs rpc_pipefs "
    "securityfs selinuxfs smackfs sockfs sysfs tracefs ";
constexpr std::string_view kMemoryTypes = " ramfs tmpfs ";
/// Where a memory file system is part of the machinery; elsewhere somebody has put it up as a volume.
constexpr std::string_view kSystemFolders = " /dev /proc /run /sys /tmp /var ";

bool isAmong(std::string_view words, std::string_view word) {
    return words.find(" " + std::string(word) + " ") != std::string_view::npos;
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
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stopped == end ? std::optional(value) : std::nullopt;
}

} // namespace

std::vector<MountRecord> parseMountInfo(std::string_view text) {
    std::vector<MountRecord> records;
    for (const std::string_view line : split(text, '\n')) {
        // 36 35 98:0 /root /mount/point rw,noatime shared:1 master:2 - ext4 /dev/sda1 rw,errors=continue
        const Fields fields = split(line, ' ');
        const auto dash = std::find(fields.begin(), fields.end(), "-");
        if (dash - fields.begin() < 6 || fields.end() - dash < 4 || dash[1].empty() || !fields[4].starts_with('/')) {
            continue;
        }
        if (const auto mountID = number<std::uint64_t>(fields[0])) {
            records.push_back({.mountID = *mountID,
                               .mountPoint = decoded(fields[4]),
                               .fileSystemType = std::string(dash[1]),
                               .options = std::string(fields[5]) + "," + std::string(dash[3])});
        }
    }
    return records;
}

void addUserOptions(std::vector<MountRecord>& records, std::string_view utab) {
    for (const std::string_view line : split(utab, '\n')) {
        // ID=36 SRC=/dev/sda1 TARGET=/mount/point ROOT=/ OPTS=x-gvfs-hide,uhelper=udisks2
        std::optional<std::uint64_t> mountID;
        std::string target;
        std::string_view options;
        for (const std::string_view field : split(line, ' ')) {
            if (field.starts_with("ID=")) {
                mountID = number<std::uint64_t>(field.substr(3));
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
            record->options.append(1, ',').append(options);
        }
    }
}

std::uint32_t mountFlags(const MountRecord& record) {
    const Fields options = split(record.options, ',');
    const auto has = [&](std::string_view option) {
        return std::find(options.begin(), options.end(), option) != options.end();
    };
    const std::string_view type = record.fileSystemType;
    const std::string_view place = record.mountPoint;
    const bool isHidden = isAmong(kPseudoTypes, type) || has("x-gvfs-hide") ||
                          (isAmong(kMemoryTypes, type) && isAmong(kSystemFolders, place.substr(0, place.find('/', 1))));
    return (has("nosuid") ? kMountNoSetUserID : 0U) | (place == "/" ? kMountRootFileSystem : 0U) |
           (isAmong(kNetworkTypes, type) ? 0U : kMountLocal) | (isHidden ? kMountDontBrowse : 0U);
}

bool mayNotAnswer(const MountRecord& record) {
    return isAmong(kNetworkTypes, record.fileSystemType) || record.fileSystemType.starts_with("fuse");
}

std::optional<std::uint32_t> mountingUser(const MountRecord& record) {
    for (const std::string_view name : {"user_id=", "uid="}) {
        for (const std::string_view option : split(record.options, ',')) {
            const auto user =
                option.starts_with(name) ? number<std::uint32_t>(option.substr(name.size())) : std::nullopt;
            if (user) {
                return user;
            }
        }
    }
    return std::nullopt;
}

} // namespace orvane
