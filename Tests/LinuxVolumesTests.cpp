#include "Backends/Linux/MountTable.h"
#include "Platform/Volumes.h"
#include "Tests/TaskRunnerTestSupport.h"
#include "Tests/VolumesTestSupport.h"

#include <csignal>
#include <ctime>
#include <linux/fuse.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>

namespace orvane {
namespace {

MountRecord onlyRecord(const std::string& line) {
    const std::vector<MountRecord> records = parseMountInfo(line);
    EXPECT_EQ(records.size(), 1U) << line;
    return records.empty() ? MountRecord{} : records.front();
}

MountRecord mounted(const std::string& type, const std::string& place, const std::string& mountOptions = "rw",
                    const std::string& superOptions = "rw") {
    return onlyRecord("36 35 8:1 / " + place + " " + mountOptions + " - " + type + " /dev/sda1 " + superOptions + "\n");
}

TEST(ParseMountInfo, ReadsEveryField) {
    const MountRecord record =
        onlyRecord("36 35 98:0 /mnt1 /mnt2 rw,noatime master:1 - ext3 /dev/root rw,errors=continue\n");
    EXPECT_EQ(record.mountID, 36);
    EXPECT_EQ(record.mountPoint, "/mnt2");
    EXPECT_EQ(record.fileSystemType, "ext3");
    EXPECT_EQ(record.options, "rw,noatime,rw,errors=continue");
}

TEST(ParseMountInfo, AnyNumberOfOptionalFields) {
    EXPECT_EQ(onlyRecord("1 0 8:1 / / rw - ext4 /dev/sda1 rw\n").fileSystemType, "ext4");
    EXPECT_EQ(onlyRecord("1 0 8:1 / / rw shared:1 master:2 propagate_from:3 unbindable - xfs x rw\n").fileSystemType,
              "xfs");
}

TEST(ParseMountInfo, DecodesOctalEscapes) {
    EXPECT_EQ(onlyRecord("1 0 8:1 / /media/a\\040b\\011c\\012d\\134e\\043 rw - vfat x rw\n").mountPoint,
              "/media/a b\tc\nd\\e#");
    EXPECT_EQ(onlyRecord("1 0 8:1 / /\\303\\251 rw - vfat x rw\n").mountPoint, "/\xC3\xA9");
    // What is no escape stays as it is.
    EXPECT_EQ(onlyRecord("1 0 8:1 / /a\\ rw - vfat x rw\n").mountPoint, "/a\\");
    EXPECT_EQ(onlyRecord("1 0 8:1 / /a\\04 rw - vfat x rw\n").mountPoint, "/a\\04");
    EXPECT_EQ(onlyRecord("1 0 8:1 / /a\\089 rw - vfat x rw\n").mountPoint, "/a\\089");
    EXPECT_EQ(onlyRecord("1 0 8:1 / /a\\777 rw - vfat x rw\n").mountPoint, "/a\\777");
}

TEST(ParseMountInfo, LeavesOutWhatIsNoRecord) {
    for (const char* const line :
         {"\n", "garbage\n", "36 35 98:0 / /mnt rw shared:1\n", "x 35 98:0 / /mnt rw - ext4 s rw\n",
          "36 35 98:0 / mnt rw - ext4 s rw\n", "36 35 98:0 / /mnt rw -\n", "36 35 98:0 / /mnt rw - \n",
          "36 35 98:0 /\n", "36 35 98:0 / /mnt - ext4 s rw\n"}) {
        EXPECT_TRUE(parseMountInfo(line).empty()) << line;
    }
    EXPECT_TRUE(parseMountInfo("").empty());
    EXPECT_EQ(parseMountInfo("garbage\n1 0 8:1 / / rw - ext4 x rw\nmore\n2 1 8:2 / /a rw - ext4 y rw").size(), 2U);
}

TEST(MountFlags, StartUpVolumeAndPlainVolume) {
    EXPECT_EQ(mountFlags(mounted("ext4", "/")), kMountRootFileSystem | kMountLocal);
    EXPECT_EQ(mountFlags(mounted("vfat", "/media/stick")), kMountLocal);
    EXPECT_EQ(mountFlags(mounted("vfat", "/media/stick", "rw,nosuid,nodev")), kMountLocal | kMountNoSetUserID);
}

TEST(MountFlags, PseudoFileSystemsAreHidden) {
    for (const char* const type :
         {"proc",    "sysfs",    "devpts",    "devtmpfs", "cgroup",          "cgroup2",     "autofs",     "debugfs",
          "tracefs", "mqueue",   "hugetlbfs", "fusectl",  "rpc_pipefs",      "binfmt_misc", "securityfs", "pstore",
          "bpf",     "configfs", "nsfs",      "efivarfs", "fuse.gvfsd-fuse", "fuse.portal"}) {
        EXPECT_EQ(mountFlags(mounted(type, "/anywhere")) & kMountDontBrowse, kMountDontBrowse) << type;
    }
    for (const char* const type :
         {"ext4", "xfs", "btrfs", "vfat", "exfat", "fuseblk", "iso9660", "nfs4", "fuse.sshfs", "overlay", "tmpfs"}) {
        EXPECT_EQ(mountFlags(mounted(type, "/Volumes/Data")) & kMountDontBrowse, 0U) << type;
    }
}

TEST(MountFlags, MemoryFileSystemsAreHiddenInTheSystemsOwnFolders) {
    for (const char* const place : {"/dev/shm", "/run", "/run/user/1000", "/tmp", "/sys/fs/cgroup", "/var/tmp"}) {
        EXPECT_EQ(mountFlags(mounted("tmpfs", place)) & kMountDontBrowse, kMountDontBrowse) << place;
        EXPECT_EQ(mountFlags(mounted("ext4", place)) & kMountDontBrowse, 0U) << place;
    }
    EXPECT_EQ(mountFlags(mounted("tmpfs", "/runner")) & kMountDontBrowse, 0U);
}

TEST(MountFlags, HiddenOnRequest) {
    EXPECT_EQ(mountFlags(mounted("ext4", "/data", "rw,x-gvfs-hide")) & kMountDontBrowse, kMountDontBrowse);
    EXPECT_EQ(mountFlags(mounted("ext4", "/data", "rw,x-gvfs-hidden")) & kMountDontBrowse, 0U);

    std::vector<MountRecord> records = parseMountInfo("36 1 8:1 / /a\\040b rw - ext4 x rw\n"
                                                      "37 36 8:2 / /a\\040b rw - ext4 y rw\n"
                                                      "38 1 8:3 / /c rw - ext4 z rw\n");
    addUserOptions(records, "ID=36 SRC=x TARGET=/a\\040b ROOT=/ OPTS=uhelper=udisks2,x-gvfs-hide\n"
                            "SRC=z TARGET=/c ROOT=/ ATTRS=none\n"
                            "nonsense\n"
                            "ID=99 TARGET=/c OPTS=x-gvfs-hide\n");
    EXPECT_EQ(mountFlags(records[0]) & kMountDontBrowse, kMountDontBrowse);
    EXPECT_EQ(mountFlags(records[1]) & kMountDontBrowse, 0U);
    EXPECT_EQ(mountFlags(records[2]) & kMountDontBrowse, 0U);
    addUserOptions(records, "TARGET=/a\\040b OPTS=x-gvfs-hide\n"); // no number: the one on top
    EXPECT_EQ(mountFlags(records[1]) & kMountDontBrowse, kMountDontBrowse);
}

TEST(MountFlags, NetworkFileSystemsAreNotLocal) {
    for (const char* const type : {"nfs", "nfs4", "cifs", "smb3", "afs", "ceph", "9p", "lustre", "fuse.sshfs",
                                   "fuse.glusterfs", "fuse.rclone", "davfs"}) {
        EXPECT_EQ(mountFlags(mounted(type, "/net")) & kMountLocal, 0U) << type;
        EXPECT_TRUE(mayNotAnswer(mounted(type, "/net"))) << type;
    }
    EXPECT_EQ(mountFlags(mounted("fuse.ntfs-3g", "/media/d")) & kMountLocal, kMountLocal);
    EXPECT_TRUE(mayNotAnswer(mounted("fuse.ntfs-3g", "/media/d"))); // its process may hang
    EXPECT_FALSE(mayNotAnswer(mounted("ext4", "/data")));
}

TEST(MountingUser, ComesFromTheOptions) {
    EXPECT_EQ(mountingUser(mounted("vfat", "/m", "rw", "rw,uid=501,gid=20")), 501U);
    EXPECT_EQ(mountingUser(mounted("fuse.sshfs", "/m", "rw", "rw,user_id=502,group_id=0")), 502U);
    EXPECT_EQ(mountingUser(mounted("fuse", "/m", "rw", "rw,uid=7,user_id=502")), 502U);
    EXPECT_EQ(mountingUser(mounted("vfat", "/m", "rw", "rw,uid=4294967294")), 4294967294U);
    for (const char* const options :
         {"rw", "uid=", "uid=abc", "uid=12x", "uid=-1", "uid=4294967296", "xuid=501", "fsuid=501"}) {
        EXPECT_EQ(mountingUser(mounted("vfat", "/m", "rw", options)), std::nullopt) << options;
    }
}

using test::find;

TEST(LinuxVolumes, ListsTheKernelsOwnFileSystemsHidden) {
    const auto all = Volumes::platform().mountedFileSystems();
    ASSERT_TRUE(all);
    const MountedFileSystem* const proc = find(*all, "/proc");
    ASSERT_NE(proc, nullptr);
    EXPECT_EQ(proc->flags & kMountDontBrowse, kMountDontBrowse);
}

/// Runs the checks in a child process with mounts of its own, with which it may do as it likes. The checks
/// return 0 or the number of the one that failed; the child ends by itself when they hang.
int withOwnMounts(const std::function<int()>& checks) {
    constexpr int kCannotMount = 254;
    const pid_t child = ::fork();
    if (child == 0) {
        ::alarm(60);
        if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("test", "/mnt", "tmpfs", 0, "size=1m") != 0) {
            ::_exit(kCannotMount);
        }
        ::_exit(checks());
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    if (WIFSIGNALED(status)) {
        return -WTERMSIG(status);
    }
    return WEXITSTATUS(status);
}

class OwnMounts : public ::testing::Test {
  protected:
    void SetUp() override {
        if (withOwnMounts([] { return 0; }) != 0) {
            GTEST_SKIP() << "this needs the right to mount";
        }
    }
};

TEST_F(OwnMounts, SizesOwnerAndFlagsOfAVolume) {
    EXPECT_EQ(withOwnMounts([] {
                  if (::mkdir("/mnt/a b", 0755) != 0 || ::mkdir("/mnt/c", 0755) != 0 ||
                      ::mount("v", "/mnt/a b", "tmpfs", MS_NOSUID, "size=8m,uid=1234") != 0 ||
                      ::mount("v", "/mnt/c", "ramfs", 0, nullptr) != 0 || ::chown("/mnt/c", 77, 77) != 0) {
                      return 1;
                  }
                  const auto all = Volumes::platform().mountedFileSystems();
                  const MountedFileSystem* const volume = all ? find(*all, "/mnt/a b") : nullptr;
                  if (volume == nullptr || volume->owner != 1234 ||
                      volume->flags != (kMountLocal | kMountNoSetUserID)) {
                      return 2;
                  }
                  if (volume->blockSize * volume->blocks != std::uint64_t{8} << 20U ||
                      volume->availableBlocks != volume->blocks) {
                      return 3;
                  }
                  const MountedFileSystem* const other = find(*all, "/mnt/c"); // no option tells
                  return other != nullptr && other->owner == 77 ? 0 : 4;
              }),
              0);
}

TEST_F(OwnMounts, CoveredVolumeIsHiddenAndDoesNotTakeTheSizesOfItsCover) {
    EXPECT_EQ(withOwnMounts([] {
                  if (::mkdir("/mnt/v", 0755) != 0 || ::mount("low", "/mnt/v", "tmpfs", 0, "size=8m") != 0 ||
                      ::mount("top", "/mnt/v", "tmpfs", 0, "size=4m") != 0) {
                      return 1;
                  }
                  const auto all = Volumes::platform().mountedFileSystems();
                  int hidden = 0;
                  int browsable = 0;
                  for (const MountedFileSystem& one : *all) {
                      if (one.mountPoint == "/mnt/v") {
                          const std::uint64_t size = one.blockSize * one.blocks;
                          hidden += (one.flags & kMountDontBrowse) != 0 && size == 0;
                          browsable += (one.flags & kMountDontBrowse) == 0 && size == std::uint64_t{4} << 20U;
                      }
                  }
                  return hidden == 1 && browsable == 1 ? 0 : 2;
              }),
              0);
}

/// Mounts a memory file system of that many megabytes, on a folder that is made for it.
bool mountOn(const char* place, int size) {
    ::mkdir(place, 0755);
    return ::mount("test", place, "tmpfs", 0, ("size=" + std::to_string(size) + "m").c_str()) == 0;
}

/// Whether exactly the mounts of these sizes show beneath "/mnt", in this order.
bool onlyTheseShow(const std::vector<std::uint64_t>& megabytes) {
    std::vector<std::uint64_t> shown;
    const auto all = Volumes::platform().mountedFileSystems();
    for (const MountedFileSystem& one : *all) {
        if (one.mountPoint.starts_with("/mnt/") && (one.flags & kMountDontBrowse) == 0) {
            shown.push_back(one.blockSize * one.blocks >> 20U);
        }
    }
    return shown == megabytes;
}

TEST_F(OwnMounts, WhatNoPathLeadsToIsHidden) {
    EXPECT_EQ(withOwnMounts([] {
                  // Mounts on one covered, and on its cover.
                  if (!mountOn("/mnt/data", 2) || !mountOn("/mnt/data/in", 3) || !mountOn("/mnt/data", 4) ||
                      !onlyTheseShow({4}) || !mountOn("/mnt/data/in", 5) || !onlyTheseShow({4, 5})) {
                      return 1;
                  }
                  // A later mount on a folder above, in which the places are missing, or a file.
                  if (::mkdir("/mnt/a", 0755) != 0 || !mountOn("/mnt/a/b", 6) || !mountOn("/mnt/a/b/c", 7) ||
                      !mountOn("/mnt/ab", 8) || !onlyTheseShow({4, 5, 6, 7, 8}) || !mountOn("/mnt/a", 9) ||
                      !onlyTheseShow({4, 5, 8, 9}) || ::close(::creat("/mnt/a/b", 0644)) != 0 ||
                      !onlyTheseShow({4, 5, 8, 9})) {
                      return 2;
                  }
                  // One over all.
                  return mountOn("/mnt", 1) && onlyTheseShow({}) ? 0 : 3;
              }),
              0);
}

TEST_F(OwnMounts, FileMountedOnAFileIsNoVolume) {
    EXPECT_EQ(withOwnMounts([] {
                  const auto make = [](const char* path) { return ::close(::creat(path, 0644)) == 0; };
                  if (::mkdir("/mnt/folder", 0755) != 0 || ::mkdir("/mnt/other", 0755) != 0 || !make("/mnt/file") ||
                      !make("/mnt/place") || ::mount("/mnt/file", "/mnt/place", nullptr, MS_BIND, nullptr) != 0 ||
                      ::mount("/mnt/folder", "/mnt/other", nullptr, MS_BIND, nullptr) != 0) {
                      return 1;
                  }
                  const auto all = Volumes::platform().mountedFileSystems();
                  if (!all || find(*all, "/mnt/other") == nullptr) {
                      return 2;
                  }
                  return find(*all, "/mnt/place") == nullptr ? 0 : 3;
              }),
              0);
}

TEST_F(OwnMounts, TheMountingToolsTableIsAskedToo) {
    EXPECT_EQ(withOwnMounts([] {
                  constexpr std::string_view kTable = "SRC=v TARGET=/mnt/v ROOT=/ OPTS=x-gvfs-hide\n";
                  if (::mkdir("/mnt/v", 0755) != 0 || ::mkdir("/mnt/w", 0755) != 0 ||
                      ::mount("v", "/mnt/v", "tmpfs", 0, "size=1m") != 0 ||
                      ::mount("w", "/mnt/w", "tmpfs", 0, "size=1m") != 0 ||
                      ::mount("run", "/run", "tmpfs", 0, nullptr) != 0 || ::mkdir("/run/mount", 0755) != 0) {
                      return 1;
                  }
                  const int table = ::creat("/run/mount/utab", 0644);
                  if (::write(table, kTable.data(), kTable.size()) != std::ssize(kTable) || ::close(table) != 0) {
                      return 2;
                  }
                  const auto all = Volumes::platform().mountedFileSystems();
                  const MountedFileSystem* const hidden = all ? find(*all, "/mnt/v") : nullptr;
                  const MountedFileSystem* const shown = all ? find(*all, "/mnt/w") : nullptr;
                  return hidden != nullptr && (hidden->flags & kMountDontBrowse) != 0 && shown != nullptr &&
                                 (shown->flags & kMountDontBrowse) == 0
                             ? 0
                             : 3;
              }),
              0);
}

/// A file system in user space, of user 4321. What the kernel asks of it comes by the descriptor; -1 on failure.
int mountWithServer(const char* source, const char* path) {
    const int server = ::open("/dev/fuse", O_RDWR | O_CLOEXEC);
    const std::string options = "fd=" + std::to_string(server) + ",rootmode=40000,user_id=4321,group_id=0,allow_other";
    return server >= 0 && ::mount(source, path, "fuse.sshfs", 0, options.c_str()) == 0 ? server : -1;
}

TEST_F(OwnMounts, ServerThatNeverAnswersHoldsNobodyUp) {
    if (!test::exists("/dev/fuse")) {
        GTEST_SKIP() << "no file system in user space here";
    }
    EXPECT_EQ(withOwnMounts([] {
                  const int server = mountOn("/mnt/dead", 1) ? mountWithServer("dead", "/mnt/dead") : -1;
                  if (server < 0) {
                      return 1;
                  }
                  timespec start = {};
                  ::clock_gettime(CLOCK_MONOTONIC, &start);
                  const auto all = Volumes::platform().mountedFileSystems();
                  const MountedFileSystem* const dead = all ? find(*all, "/mnt/dead") : nullptr;
                  if (dead == nullptr || dead->flags != 0 || dead->owner != 4321 || dead->blocks != 0 ||
                      !onlyTheseShow({0})) { // and not what it covers
                      return 2;
                  }
                  timespec end = {};
                  ::clock_gettime(CLOCK_MONOTONIC, &end);
                  if (end.tv_sec - start.tv_sec > 20 || end.tv_sec == start.tv_sec) {
                      return 3; // or nobody had to wait for it
                  }
                  if (::waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD) {
                      return 4; // whoever was asked is still there
                  }
                  ::close(server);
                  // With the server gone the system answers at once, with an error.
                  const auto again = Volumes::platform().mountedFileSystems();
                  return again && find(*again, "/mnt/dead") != nullptr ? 0 : 5;
              }),
              0);
}

/// Answers what the kernel asks of a file system with one folder and 2^33 blocks, until it is gone.
[[noreturn]] void serveFileSystem(int server) {
    std::vector<char> request(FUSE_MIN_READ_BUFFER + 65536);
    while (::read(server, request.data(), request.size()) > 0) {
        fuse_in_header in = {};
        std::memcpy(&in, request.data(), sizeof in);
        fuse_out_header out = {};
        out.unique = in.unique;
        std::string body;
        const auto answer = [&](const auto& record) {
            body.assign(reinterpret_cast<const char*>(&record), sizeof record);
        };
        if (in.opcode == FUSE_INIT) {
            fuse_init_out init = {};
            init.major = FUSE_KERNEL_VERSION;
            init.minor = FUSE_KERNEL_MINOR_VERSION;
            init.max_write = 4096;
            answer(init);
        } else if (in.opcode == FUSE_STATFS) {
            fuse_statfs_out statistics = {};
            statistics.st.frsize = 4096;
            statistics.st.bsize = 65536;
            statistics.st.blocks = std::uint64_t{1} << 33U;
            statistics.st.bfree = 99;
            statistics.st.bavail = 42;
            answer(statistics);
        } else if (in.opcode == FUSE_GETATTR) {
            fuse_attr_out attributes = {};
            attributes.attr.ino = FUSE_ROOT_ID;
            attributes.attr.mode = S_IFDIR | 0755;
            attributes.attr.nlink = 2;
            answer(attributes);
        } else {
            out.error = -ENOSYS;
        }
        out.len = static_cast<std::uint32_t>(sizeof out + body.size());
        const std::string whole = std::string(reinterpret_cast<const char*>(&out), sizeof out) + body;
        if (::write(server, whole.data(), whole.size()) < 0) {
            break;
        }
    }
    ::_exit(0);
}

TEST_F(OwnMounts, ServerThatAnswersIsBelieved) {
    if (!test::exists("/dev/fuse")) {
        GTEST_SKIP() << "no file system in user space here";
    }
    EXPECT_EQ(withOwnMounts([] {
                  const int server = ::mkdir("/mnt/net", 0755) == 0 ? mountWithServer("net", "/mnt/net") : -1;
                  if (server < 0) {
                      return 1;
                  }
                  const pid_t child = ::fork();
                  if (child == 0) {
                      serveFileSystem(server);
                  }
                  ::close(server);
                  const auto all = Volumes::platform().mountedFileSystems();
                  const MountedFileSystem* const net = all ? find(*all, "/mnt/net") : nullptr;
                  const bool right = net != nullptr && net->flags == 0 && net->owner == 4321 &&
                                     net->blockSize == 4096 && net->blocks == std::uint64_t{1} << 33U &&
                                     net->availableBlocks == 42;
                  ::kill(child, SIGKILL);
                  ::waitpid(child, nullptr, 0);
                  // Whoever was asked is gone, too: no child is left to wait for.
                  const bool alone = ::waitpid(-1, nullptr, WNOHANG) == -1 && errno == ECHILD;
                  return !right ? 2 : (alone ? 0 : 3);
              }),
              0);
}

TEST_F(OwnMounts, WithoutAMountTableThereIsNothing) {
    EXPECT_EQ(withOwnMounts([] {
                  if (::mount("empty", "/proc", "tmpfs", 0, nullptr) != 0) {
                      return 1;
                  }
                  return Volumes::platform().mountedFileSystems() ? 2 : 0;
              }),
              0);
}

} // namespace
} // namespace orvane
