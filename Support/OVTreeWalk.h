#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace orvane {

/// Looks at everything beneath some paths, without following links: how much is there, what removing it would free, and
/// what would not go. Nothing is changed.
///
/// Folders are shared out among threads where there is more than one processor. However deep a tree is, few descriptors
/// are open. What comes or goes meanwhile is there or not. Needs OS X 10.10 (`openat`, `fstatat`), hence nothing for
/// the tool.
class OVTreeWalk {
  public:
    /// A path to begin with, and what there is at it.
    struct Tree {
        std::string path;
        std::int32_t error = 0; ///< why nothing is known of it (`lstat`); the numbers are 0 then
        mode_t mode = 0;
        std::int64_t modified = 0; ///< seconds since 1970
        std::uint64_t entries = 0; ///< files and folders, itself included
        /// Blocks on disk that nothing holds any more once all trees are gone: a file with further links elsewhere has
        /// none, one with all its links in the trees counts once, for the first of them.
        std::uint64_t bytes = 0;
    };

    /// What cannot be removed itself, whatever becomes of that which is in it.
    struct Stuck {
        std::string path;
        std::int32_t error = 0;
    };

    /// One file or folder, as a visitor sees it.
    struct Entry {
        std::string_view name;     ///< of a tree: the path's last component
        std::int32_t depth;        ///< 0 for a tree
        const struct stat& status; ///
        const std::function<std::string()>& path;
    };

    /// Whose rights count for `stuck`.
    enum class Remover : std::uint8_t { nobody, user, root };

    struct Options {
        Remover remover = Remover::nobody;
        bool overwrites = false; ///< files of the user that only others may write are stuck, too
        unsigned threads = 0;    ///< at most; 0 for as many as there are processors, 4 at most
        /// Called now and then and at the end, by the thread that walks, with how many entries were seen; false ends
        /// it.
        std::function<bool(std::uint64_t entries)> progress = {};
        /// Called for each entry before what is in it; false leaves that out. There is one thread then.
        std::function<bool(const Entry& entry)> visit = {};
    };

    explicit OVTreeWalk(Options options);
    OVTreeWalk(const OVTreeWalk&) = delete;
    OVTreeWalk& operator=(const OVTreeWalk&) = delete;
    ~OVTreeWalk();

    /// Fills the trees in. False when `progress` ended it. Called once. The trees shall not lie in each other.
    bool walk(std::vector<Tree>& trees);
    /// The same for `count` trees wherever they are kept: `at` gives each by its number, or null to leave that out. It
    /// is called by all threads.
    bool walk(std::size_t count, const std::function<Tree*(std::size_t number)>& at);

    std::vector<std::string> unreadable; ///< folders that could not be looked into, sorted
    std::vector<Stuck> stuck;            ///< sorted by path

  private:
    struct Shared;
    std::unique_ptr<Shared> shared_;
};

} // namespace orvane
