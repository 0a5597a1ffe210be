#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// What is at stake, and so how a host asks before it runs a task.
enum class OVTaskTier : std::uint8_t {
    reads,    ///< nothing that a user would miss changes: no question
    rebuilds, ///< caches, indexes and settings, which come back
    removes,  ///< files that users made, or work that they have not saved
    forGood,  ///< what nobody can get back, or the end of all that runs
};

/// How a task's programs come to the files that they remove or move.
struct OVTaskRemoval {
    enum class Way : std::uint8_t {
        shell,       ///< the shell expands the patterns, `rm` gets what they match
        list,        ///< the library expands them, `xargs` hands each line of the list to `rm`
        overwrite,   ///< the same, but to `srm`, which overwrites what it removes
        find,        ///< `find` in what the patterns match: what `predicate` tells is removed whole
        findFiles,   ///< the same, by `rm` without a folder's rights: regular files alone
        findEmptied, ///< the same, by `find`'s own `-delete`: files and empty folders
        damaged,     ///< `find`, then `plutil`, whose complaints are taken apart by `xargs`
        move,        ///< `find`: moved into a folder, not removed
        aside,       ///< moved into the folder `predicate` before a removal, and back what is there by these names then
    };
    Way way = Way::shell;
    std::span<const std::string_view> patterns = {}; ///< "~" is the home folder of the real user, "@" the argument
    std::string_view predicate = {};                 ///< a name's or a path's pattern for `find`; empty for none
    std::int32_t maxDepth = -1;                      ///< how far `find` goes beneath the patterns' matches; -1 for all
    std::string_view onlyFor = {};                   ///< the argument that chooses it; empty: chosen by any
};

/// What a task needs of the system beside the shell, `rm` and the like, and since when macOS is without it.
struct OVTaskNeed {
    std::string_view name;           ///< a program as the task calls it, else what a person calls it
    std::string_view goneSince = {}; ///< the first macOS without it; "" when none is known
    bool isSure = true;              ///< documented by Apple or seen by its systems' users; else it may be so
    bool isProgram = true;           ///< a file of this name can be looked for
};

/// One task: what every list, question, manual and plan says of it. Texts are English, the keys of translations.
struct OVTaskDescription {
    std::string_view name;                 ///< the word for the tool, or the name of the runner's operation
    std::string_view argument = {};        ///< "VOLUME", "PID", "BROWSER", "FOLDER", "PATH..." and so on, or ""
    std::string_view group;                ///< the heading it stands under
    OVTaskTier tier = OVTaskTier::removes; ///
    bool isToolTask = false;               ///< run by the tool, as root; else by an `OVTaskRunner` in the host itself
    std::string_view does;                 ///< what it does, in a sentence
    std::string_view why;                  ///< why one would
    std::string_view kept = {};            ///< what it leaves alone; "" when there is nothing to say
    std::string_view undo = {};            ///< what cannot be undone; "" for nothing
    std::string_view duration;             ///< how long it takes
    std::span<const OVTaskNeed> needs = {};
    std::span<const OVTaskRemoval> removals = {}; ///< empty: it removes nothing
    std::string_view line = {}; ///< the tool's fixed shell line, without its frame; "" for a task without one
};

/// All tasks that a person can choose, the tool's in the order of its table, then the library's. A name is there once:
/// where tool and library share it, the tool's.
std::span<const OVTaskDescription> OVTaskCatalogue();

/// The task of that name; null for none.
const OVTaskDescription* OVTaskNamed(std::string_view name);

} // namespace orvane
