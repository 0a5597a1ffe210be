#include "Support/OVTreeWalk.h"

#include "Platform/FileProtection.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <dirent.h>
#include <fcntl.h>
#include <iterator>
#include <mutex>
#include <pthread.h>
#include <unistd.h>
#include <unordered_map>
#include <utility>

namespace orvane {

namespace {

constexpr std::uint64_t kBytesInBlock = 512;
constexpr unsigned kMostThreads = 4;
/// Below so many entries a second thread costs more than it brings.
constexpr std::uint64_t kEntriesForThreads = 2000;
constexpr std::uint64_t kEntriesToTell = 1024;
/// Descriptors kept for folders that others are opened from: few enough for a limit of 256.
constexpr int kMostKept = 64;
constexpr auto kProgressInterval = std::chrono::milliseconds(100);
constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;

/// One of the paths of a file.
struct FileID {
    dev_t device;
    ino_t number;
    bool operator==(const FileID&) const = default;
};

struct FileIDHash {
    std::size_t operator()(const FileID& id) const {
        return static_cast<std::size_t>(static_cast<std::uint64_t>(id.number) * 0x9E3779B97F4A7C15U ^
                                        static_cast<std::uint64_t>(id.device));
    }
};

struct Linked {
    std::uint64_t left;  ///< links that were not met
    std::uint64_t bytes; ///
    std::size_t tree;    ///< the first that has one
};

/// What a remover may do with the entries of a folder.
struct FolderRights {
    std::int32_t error = 0; ///< why none of them can be removed
    bool isSticky = false;
};

struct Folder {
    Folder* parent = nullptr;
    std::string name; ///< of a tree: its path
    std::size_t tree = 0;
    std::int32_t depth = 0;
    dev_t device = 0;
    bool isSticky = false;    ///< only what is the user's own can be removed from it
    int descriptor = -1;      ///< kept while folders in it are to be opened
    std::size_t unopened = 0; ///< folders in it that are to be opened
    std::size_t living = 1;   ///< it itself, and folders in it
};

std::string pathOf(const Folder* folder) {
    std::vector<const Folder*> chain;
    for (; folder != nullptr; folder = folder->parent) {
        chain.push_back(folder);
    }
    std::string path = chain.back()->name;
    for (auto next = chain.rbegin() + 1; next != chain.rend(); ++next) {
        path.append("/").append((*next)->name);
    }
    return path;
}

bool isDot(const char* name) {
    return name[0] == '.' && (name[1] == 0 || (name[1] == '.' && name[2] == 0));
}

} // namespace

/// What several threads share. Each takes a folder or a tree at a time and hands in what it found.
struct OVTreeWalk::Shared {
    Shared(OVTreeWalk& itsOwner, Options itsOptions) : owner(itsOwner), options(std::move(itsOptions)) {}

    /// What was found in one folder, or of one tree.
    struct Found {
        std::uint64_t entries = 0;
        std::uint64_t bytes = 0;
        std::vector<std::pair<FileID, Linked>> links;
        std::vector<std::string> unreadable;
        std::vector<Stuck> stuck;
        std::vector<std::unique_ptr<Folder>> folders;
    };

    void work(bool isCaller);
    void attend();
    void begin(std::size_t tree, Found& found);
    void read(Folder& folder, Found& found);
    void handIn(Folder* folder, std::size_t tree, Found& found);
    void release(Folder* folder);

    [[nodiscard]] int open(const Folder& folder) const;
    [[nodiscard]] int openByWay(const Folder& folder) const;
    void keep(Folder& folder, int descriptor);
    void add(const struct stat& status, std::size_t tree, Found& found);
    [[nodiscard]] bool isStickyFor(const struct stat& status) const;
    [[nodiscard]] FolderRights rights(int folder, const char* path, bool isSticky) const;
    [[nodiscard]] std::int32_t errorOfRemoval(const struct stat& status, const FolderRights& rights, int folder,
                                              const char* path) const;

    OVTreeWalk& owner;
    const Options options;
    const uid_t user = ::geteuid();
    FileProtection& protection = FileProtection::platform();
    std::size_t count = 0;
    const std::function<Tree*(std::size_t)>* at = nullptr;

    std::atomic<std::uint64_t> seen = 0;
    std::atomic<bool> isEnded = false;
    std::atomic<int> kept = 0;

    // The caller's alone.
    std::chrono::steady_clock::time_point lastTold = std::chrono::steady_clock::now();
    std::vector<pthread_t> helpers;
    unsigned wantedHelpers = 0;

    // For all that follows, and for the numbers of folders.
    std::mutex lock;
    std::condition_variable changed;
    std::vector<Folder*> waiting; ///< the last one is read first, so that few wait
    std::size_t nextTree = 0;
    unsigned busy = 0;
    std::unordered_map<FileID, Linked, FileIDHash> linked;
};

OVTreeWalk::OVTreeWalk(Options options) : shared_(std::make_unique<Shared>(*this, std::move(options))) {}

OVTreeWalk::~OVTreeWalk() = default;

bool OVTreeWalk::walk(std::vector<Tree>& trees) {
    return walk(trees.size(), [&trees](std::size_t number) { return &trees[number]; });
}

bool OVTreeWalk::walk(std::size_t count, const std::function<Tree*(std::size_t)>& at) {
    Shared& shared = *shared_;
    const Options& options = shared.options;
    shared.count = count;
    shared.at = &at;
    const long processors = ::sysconf(_SC_NPROCESSORS_ONLN);
    const unsigned most = std::min(processors > 0 ? static_cast<unsigned>(processors) : 1U, kMostThreads);
    shared.wantedHelpers = options.visit ? 0 : (options.threads == 0 ? most : options.threads) - 1;
    shared.work(true);
    for (const pthread_t helper : shared.helpers) {
        ::pthread_join(helper, nullptr);
    }
    for (const auto& [id, file] : shared.linked) {
        at(file.tree)->bytes += file.left == 0 ? file.bytes : 0;
    }
    std::sort(unreadable.begin(), unreadable.end());
    std::sort(stuck.begin(), stuck.end(), [](const Stuck& left, const Stuck& right) { return left.path < right.path; });
    if (options.progress && !shared.isEnded && !options.progress(shared.seen)) {
        shared.isEnded = true;
    }
    return !shared.isEnded;
}

/// Until there is nothing left: a folder that waits, else the next tree. The end of the walk leaves nothing undone that
/// was begun, but reads no more.
void OVTreeWalk::Shared::work(bool isCaller) {
    std::unique_lock guard(lock);
    while (true) {
        if (isCaller) {
            guard.unlock();
            attend();
            guard.lock();
        }
        Folder* const folder = waiting.empty() ? nullptr : waiting.back();
        std::size_t tree = 0;
        if (folder != nullptr) {
            waiting.pop_back();
            tree = folder->tree;
        } else if (nextTree < count && !isEnded) {
            tree = nextTree++;
            if ((*at)(tree) == nullptr) {
                continue;
            }
        } else if (busy == 0) {
            changed.notify_all();
            return;
        } else {
            changed.wait_for(guard, kProgressInterval);
            continue;
        }
        ++busy;
        guard.unlock();
        Found found;
        if (folder != nullptr) {
            read(*folder, found);
        } else {
            begin(tree, found);
        }
        guard.lock();
        --busy;
        handIn(folder, tree, found);
        if (!waiting.empty() || busy == 0) {
            changed.notify_one();
        }
    }
}

/// What the calling thread does between two folders.
void OVTreeWalk::Shared::attend() {
    if (wantedHelpers > 0 && seen >= kEntriesForThreads) {
        for (; wantedHelpers > 0; --wantedHelpers) {
            pthread_t helper = {};
            const auto run = [](void* shared) -> void* {
                static_cast<Shared*>(shared)->work(false);
                return nullptr;
            };
            if (::pthread_create(&helper, nullptr, run, this) == 0) {
                helpers.push_back(helper); // without them it takes longer
            }
        }
    }
    if (const auto time = std::chrono::steady_clock::now(); options.progress && time - lastTold >= kProgressInterval) {
        lastTold = time;
        if (!options.progress(seen)) {
            isEnded = true;
        }
    }
}

/// A tree's own status; if it is a folder, it waits.
void OVTreeWalk::Shared::begin(std::size_t index, Found& found) {
    Tree& tree = *(*at)(index);
    struct stat status = {};
    if (::lstat(tree.path.c_str(), &status) != 0) {
        tree.error = errno;
        return;
    }
    tree.mode = status.st_mode;
    tree.modified = status.st_mtime;
    add(status, index, found);
    const std::size_t slash = tree.path.find_last_of('/');
    const std::string above = slash == std::string::npos ? "." : tree.path.substr(0, std::max<std::size_t>(slash, 1));
    if (options.remover != Remover::nobody) {
        struct stat statusAbove = {};
        ::stat(above.c_str(), &statusAbove);
        FolderRights its = rights(AT_FDCWD, above.c_str(), isStickyFor(statusAbove));
        if (S_ISDIR(status.st_mode) && status.st_dev != statusAbove.st_dev) {
            its.error = EBUSY; // something is mounted on it
        }
        if (const std::int32_t error = errorOfRemoval(status, its, AT_FDCWD, tree.path.c_str()); error != 0) {
            found.stuck.push_back({.path = tree.path, .error = error});
        }
    }
    const std::function<std::string()> path = [&] { return tree.path; };
    const Entry entry = {std::string_view(tree.path).substr(slash + 1), 0, status, path};
    if ((!options.visit || options.visit(entry)) && S_ISDIR(status.st_mode)) {
        auto folder = std::make_unique<Folder>();
        folder->name = tree.path;
        folder->tree = index;
        folder->device = status.st_dev;
        folder->isSticky = isStickyFor(status);
        found.folders.push_back(std::move(folder));
    }
}

void OVTreeWalk::Shared::read(Folder& folder, Found& found) {
    if (isEnded) {
        return;
    }
    const auto isUnreadable = [&] {
        const std::int32_t error = errno;
        if (error != ENOENT && error != ENOTDIR && error != ELOOP) { // else it has gone
            found.unreadable.push_back(pathOf(&folder));
            if (options.remover == Remover::user) {
                found.stuck.push_back({.path = found.unreadable.back(), .error = error});
            }
        }
    };
    const int descriptor = open(folder);
    DIR* const entries = descriptor >= 0 ? ::fdopendir(descriptor) : nullptr;
    if (entries == nullptr) {
        isUnreadable();
        if (descriptor >= 0) {
            ::close(descriptor);
        }
        return;
    }
    FolderRights its;
    if (options.remover != Remover::nobody) {
        its = rights(descriptor, ".", folder.isSticky);
    }
    const char* name = nullptr;
    const std::function<std::string()> path = [&] { return pathOf(&folder).append("/").append(name); };
    while (true) {
        errno = 0;
        const dirent* const entry = ::readdir(entries); // NOLINT(concurrency-mt-unsafe): a stream of its own
        if (entry == nullptr) {
            if (errno != 0) {
                isUnreadable(); // the rest of it
            }
            break;
        }
        name = entry->d_name;
        if (isDot(name)) {
            continue;
        }
        struct stat status = {};
        if (::fstatat(descriptor, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) {
                isUnreadable();
                break;
            }
            continue;
        }
        add(status, folder.tree, found);
        const bool isFolder = S_ISDIR(status.st_mode);
        if (options.remover != Remover::nobody) {
            FolderRights here = its;
            if (isFolder && status.st_dev != folder.device && here.error == 0) {
                here.error = EBUSY; // something is mounted on it
            }
            if (const std::int32_t error = errorOfRemoval(status, here, descriptor, name); error != 0) {
                found.stuck.push_back({.path = path(), .error = error});
            }
        }
        if ((!options.visit || options.visit({name, folder.depth + 1, status, path})) && isFolder) {
            auto inner = std::make_unique<Folder>();
            inner->parent = &folder;
            inner->name = name;
            inner->tree = folder.tree;
            inner->depth = folder.depth + 1;
            inner->device = status.st_dev;
            inner->isSticky = isStickyFor(status);
            found.folders.push_back(std::move(inner));
        }
        if (found.entries % kEntriesToTell == 0 && isEnded) {
            break;
        }
    }
    if (!found.folders.empty()) {
        keep(folder, descriptor);
    }
    ::closedir(entries);
}

/// With the lock held: what was found in the folder, or of the tree where there is no folder.
void OVTreeWalk::Shared::handIn(Folder* folder, std::size_t tree, Found& found) {
    seen += found.entries % kEntriesToTell;
    Tree& its = *(*at)(tree);
    its.entries += found.entries;
    its.bytes += found.bytes;
    for (const auto& [id, file] : found.links) {
        Linked& known = linked.try_emplace(id, file).first->second;
        known.tree = std::min(known.tree, file.tree);
        --known.left;
    }
    std::move(found.unreadable.begin(), found.unreadable.end(), std::back_inserter(owner.unreadable));
    std::move(found.stuck.begin(), found.stuck.end(), std::back_inserter(owner.stuck));
    if (folder != nullptr) {
        folder->unopened = found.folders.size();
        folder->living += found.folders.size();
    }
    std::transform(found.folders.rbegin(), found.folders.rend(), std::back_inserter(waiting),
                   [](auto& inner) { return inner.release(); });
    if (folder != nullptr) {
        release(folder);
    }
}

/// With the lock held: the folder was read. It goes when all in it have gone.
void OVTreeWalk::Shared::release(Folder* folder) {
    Folder* const parent = folder->parent;
    if (parent != nullptr && --parent->unopened == 0 && parent->descriptor >= 0) {
        ::close(std::exchange(parent->descriptor, -1));
        --kept;
    }
    while (folder != nullptr && --folder->living == 0) {
        const std::unique_ptr<Folder> gone(folder);
        folder = gone->parent;
    }
}

int OVTreeWalk::Shared::open(const Folder& folder) const {
    // The parent's descriptor stays open until this folder is released.
    if (folder.parent != nullptr && folder.parent->descriptor >= 0) {
        return ::openat(folder.parent->descriptor, folder.name.c_str(), kFolderFlags);
    }
    return openByWay(folder);
}

/// From the tree on, a folder at a time: a path as a whole may be longer than the system takes.
int OVTreeWalk::Shared::openByWay(const Folder& folder) const {
    std::vector<const Folder*> way;
    for (const Folder* next = &folder; next != nullptr; next = next->parent) {
        way.push_back(next);
    }
    std::reverse(way.begin(), way.end());
    int descriptor = AT_FDCWD;
    for (const Folder* const next : way) {
        const int inner = ::openat(descriptor, next->name.c_str(), kFolderFlags);
        if (descriptor != AT_FDCWD) {
            const std::int32_t error = errno;
            ::close(descriptor);
            errno = error;
        }
        if (inner < 0) {
            return inner;
        }
        descriptor = inner;
    }
    return descriptor;
}

void OVTreeWalk::Shared::keep(Folder& folder, int descriptor) {
    if (++kept > kMostKept) {
        --kept;
        return;
    }
    folder.descriptor = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    if (folder.descriptor < 0) {
        --kept;
    }
}

void OVTreeWalk::Shared::add(const struct stat& status, std::size_t tree, Found& found) {
    if (++found.entries % kEntriesToTell == 0) {
        seen += kEntriesToTell; // what is left over is told with the folder
    }
    const std::uint64_t bytes = static_cast<std::uint64_t>(status.st_blocks) * kBytesInBlock;
    if (S_ISDIR(status.st_mode) || status.st_nlink <= 1) {
        found.bytes += bytes;
    } else {
        found.links.push_back({{.device = status.st_dev, .number = status.st_ino},
                               {.left = status.st_nlink, .bytes = bytes, .tree = tree}});
    }
}

bool OVTreeWalk::Shared::isStickyFor(const struct stat& status) const {
    return options.remover == Remover::user && user != 0 && (status.st_mode & S_ISVTX) != 0 && status.st_uid != user;
}

/// What the remover may do in the folder, which is named relative to the descriptor.
FolderRights OVTreeWalk::Shared::rights(int folder, const char* path, bool isSticky) const {
    FolderRights its = {.error = 0, .isSticky = isSticky};
    if (::faccessat(folder, path, W_OK | X_OK, AT_EACCESS) != 0 &&
        (options.remover == Remover::user || errno == EROFS)) {
        its.error = errno; // a user's rights do not bind root, a volume that is read-only does
    }
    return its;
}

/// Why the remover cannot remove the entry itself; 0 when it can.
std::int32_t OVTreeWalk::Shared::errorOfRemoval(const struct stat& status, const FolderRights& rights, int folder,
                                                const char* path) const {
    if (rights.error != 0) {
        return rights.error;
    }
    if (rights.isSticky && status.st_uid != user) {
        return EPERM;
    }
    const bool isOthers = options.remover == Remover::user && user != 0 && status.st_uid != user;
    if (options.overwrites && isOthers && S_ISREG(status.st_mode) && ::faccessat(folder, path, W_OK, AT_EACCESS) != 0) {
        return errno;
    }
    return protection.errorOfRemoval(status, options.remover == Remover::root || user == 0);
}

} // namespace orvane
