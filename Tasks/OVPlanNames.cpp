#include "Tasks/OVPlanNames.h"

#include "Helpers/NSFileManager+Globbing.h"
#include "Helpers/NSFileManager+UniqueDestination.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVDesktopArchive.h"
#include "Tasks/OVTaskCommands.h"
#include "Tasks/OVTaskLines.h"
#include "Tasks/OVTaskNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <dirent.h>
#include <fnmatch.h>
#include <iterator>
#include <numeric>
#include <optional>
#include <sys/wait.h>
#include <utility>

namespace orvane {

namespace {

using Way = OVTaskRemoval::Way;
using Fate = OVPlanItem::Fate;
using Paths = std::vector<std::string>;

/// Whether the error says that there is nothing, rather than that it could not be looked at.
bool isGone(std::int32_t error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

bool matches(std::string_view pattern, const std::string& text) {
    return ::fnmatch(std::string(pattern).c_str(), text.c_str(), 0) == 0;
}

/// A path in two parts, of which many can share the first.
struct Parts {
    std::string_view folder; ///< with a slash at its end
    std::string_view name;

    [[nodiscard]] std::size_t size() const { return folder.size() + name.size(); }
    char operator[](std::size_t index) const {
        return index < folder.size() ? folder[index] : name[index - folder.size()];
    }
};

/// The path's folder as it is written, and its last component.
Parts partsOf(std::string_view path) {
    path = path.substr(0, path.find_last_not_of('/') + 1);
    const std::size_t slash = path.find_last_of('/');
    const std::size_t length = slash == std::string_view::npos ? 0 : slash + 1;
    return {path.substr(0, length), path.substr(length)};
}

/// The folder, whichever links lead to it, with a slash at its end.
std::string realFolder(std::string_view folder) {
    const std::string written = folder.empty() ? "." : std::string(folder);
    std::array<char, PATH_MAX> real = {};
    std::string path = ::realpath(written.c_str(), real.data()) != nullptr ? real.data() : written;
    return path.ends_with('/') ? path : path + "/";
}

/// One place has one key.
std::string keyOf(std::string_view path) {
    const Parts parts = partsOf(path);
    return realFolder(parts.folder).append(parts.name);
}

/// Orders paths so that what lies in a folder comes directly behind it; 0 for the same.
int compare(const Parts& left, const Parts& right) {
    const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c) + 1; };
    const std::size_t shared = std::min(left.size(), right.size());
    for (std::size_t index = left.folder == right.folder ? left.folder.size() : 0; index < shared; ++index) {
        if (left[index] != right[index]) {
            return rank(left[index]) - rank(right[index]);
        }
    }
    return left.size() < right.size() ? -1 : left.size() > right.size() ? 1 : 0;
}

bool liesIn(const Parts& path, const Parts& folder) {
    if (path.size() <= folder.size() || (folder[folder.size() - 1] != '/' && path[folder.size()] != '/')) {
        return false;
    }
    for (std::size_t index = 0; index < folder.size(); ++index) {
        if (path[index] != folder[index]) {
            return false;
        }
    }
    return true;
}

} // namespace

std::string OVFolderOf(std::string_view path) {
    const std::size_t slash = path.find_last_of('/');
    return slash == std::string_view::npos ? "." : std::string(path.substr(0, std::max<std::size_t>(slash, 1)));
}

bool OVIsFolder(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

Paths OVNamesIn(const std::string& folder, std::set<std::string>& unreadable) {
    Paths names;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(::opendir(folder.c_str()), ::closedir);
    const auto next = [&] {
        errno = entries != nullptr ? 0 : errno;
        return entries != nullptr ? ::readdir(entries.get()) : nullptr; // NOLINT(concurrency-mt-unsafe): its own
    };
    while (const dirent* const entry = next()) {
        if (const std::string_view name = entry->d_name; name != "." && name != "..") {
            names.emplace_back(name);
        }
    }
    if (errno != 0 && !isGone(errno)) {
        unreadable.insert(folder);
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// Where the tool's commands are found, but for a start of root's own.
std::string_view OVPlanNames::searchPath() const {
    return task_.isToolTask && !isRootsCall_ ? "PATH=/usr/bin:/bin:/usr/sbin:/sbin; export PATH; " : "";
}

bool OVPlanNames::isOverwritten() const {
    return !task_.removals.empty() && task_.removals.front().way == Way::overwrite;
}

void OVPlanNames::setError(std::int32_t error) {
    plan_.error = plan_.error == 0 ? error : plan_.error;
}

std::int32_t OVPlanNames::errorOfArguments() const {
    const std::string_view wanted = task_.argument;
    if (wanted.empty()) {
        return arguments_.empty() ? 0 : EINVAL;
    }
    if (arguments_.empty() || (wanted != "PATH..." && arguments_.size() > 1)) {
        return EINVAL;
    }
    for (const std::string& argument : arguments_) {
        if (argument.empty() || argument.find('\0') != std::string::npos) {
            return EINVAL;
        }
    }
    if (task_.name == "killProcess") {
        const std::int32_t processID = intValue(arguments_.front());
        return processID <= 0 ? EINVAL : services_.calls.getpgid(processID) < 0 ? ESRCH : 0;
    }
    // Those whose argument stands in a shell's line, between double quotes.
    const bool isForShell = task_.name == "secureEraseFreeSpace" || task_.name == "removeDSStoreFilesInPath";
    return isForShell && arguments_.front().find_first_of("\"$`\\'\n") != std::string::npos ? EINVAL : 0;
}

void OVPlanNames::find() {
    if (plan_.error = errorOfArguments(); plan_.error != 0) {
        return;
    }
    std::array<char, PATH_MAX> folder = {};
    workingFolder_ = ::getcwd(folder.data(), folder.size()) != nullptr ? folder.data() : "/";
    if (task_.isToolTask && (!isRootsCall_ || task_.line.empty())) {
        workingFolder_ = OVIsFolder("/var/empty") ? "/var/empty" : "/";
    }
    plan_.commands = OVTaskCommands(task_, arguments_, services_);
    for (const OVTaskRemoval& removal : task_.removals) {
        if (removal.onlyFor.empty() || arguments_.front() == removal.onlyFor ||
            arguments_.front() == lines::kAllBrowsers) {
            take(removal);
        }
    }
    takeArrivals();
    if (plan_.error == 0) {
        dropCovered();
    }
}

void OVPlanNames::take(const OVTaskRemoval& removal) {
    switch (removal.way) {
    case Way::shell:
        return takeShell(removal);
    case Way::list:
    case Way::overwrite:
        return takeList(removal);
    case Way::find:
    case Way::findFiles:
    case Way::findEmptied:
        return takeFound(removal);
    case Way::damaged:
        return takeDamaged(removal);
    case Way::move:
        return takeMoved(removal);
    case Way::aside:
        return takeAside(removal);
    }
}

// --- names

std::string OVPlanNames::atHome(std::string_view pattern) const {
    if (!pattern.starts_with('~')) {
        return std::string(pattern);
    }
    const std::string home = homeDirectoryOfUser(services_.calls.getuid()).value_or("/");
    return stringByAppendingPathComponent(home, pattern.substr(1));
}

std::string OVPlanNames::inFolder(std::string path) const {
    if (path.starts_with('/')) {
        return path;
    }
    return workingFolder_ + (workingFolder_ == "/" ? "" : "/") + path;
}

namespace {

/// `glob` hands its caller nothing but a path.
thread_local Paths* unreadableFolders = nullptr;

int noteUnreadable(const char* path, int error) {
    if (!isGone(error)) {
        unreadableFolders->emplace_back(path);
    }
    return 0; // on with the others
}

} // namespace

/// What a pattern matches, by the same means as the runner's own globs.
Paths OVPlanNames::expand(std::string_view pattern) {
    const std::string text = atHome(pattern);
    Paths closed;
    unreadableFolders = &closed;
    Paths paths = Globbing::arrayWithFilesMatchingPattern(text, "/", noteUnreadable);
    unreadable.insert(closed.begin(), closed.end());
    if (::geteuid() != 0) {
        noteUnsearchable(text);
    }
    return paths;
}

/// A folder that may be listed but not entered hides what is in it from a pattern without an error.
void OVPlanNames::noteUnsearchable(const std::string& pattern) {
    for (std::size_t star = pattern.find('*'); star != std::string::npos; star = pattern.find('*', star + 1)) {
        const std::size_t end = pattern.find('/', star);
        if (end == std::string::npos) {
            return;
        }
        const std::size_t next = pattern.find('*', end);
        const std::size_t literal = next == std::string::npos ? pattern.size() : pattern.rfind('/', next);
        for (const std::string& path : Globbing::arrayWithFilesMatchingPattern(pattern.substr(0, end), "/")) {
            struct stat status = {};
            const std::string beneath = path + pattern.substr(end, literal - end);
            if (literal > end && ::lstat(beneath.c_str(), &status) != 0 && !isGone(errno)) {
                unreadable.insert(path);
            }
        }
        star = literal;
    }
}

/// A folder in which nothing can be looked at is told.
bool OVPlanNames::isThere(const std::string& path) {
    struct stat status = {};
    const bool isThere = ::lstat(path.c_str(), &status) == 0;
    if (!isThere && !isGone(errno)) {
        unreadable.insert(OVFolderOf(path));
    }
    return isThere;
}

/// Whether the program that gets the paths cannot be started, because they are too many: the shell says so.
bool OVPlanNames::isTooLong(std::string_view pattern, const Paths& paths) const {
    constexpr std::size_t kSurelyTaken = 65536;
    const std::size_t size =
        std::accumulate(paths.begin(), paths.end(), std::size_t{0},
                        [](std::size_t sum, const std::string& path) { return sum + path.size(); });
    if (size < kSurelyTaken) {
        return false;
    }
    constexpr int kNotStarted = 126;
    const OVCaptured captured = OVCapture(std::string(searchPath()).append("/usr/bin/true ").append(pattern), "",
                                          services_.processInfo.temporaryDirectory());
    return captured.error == 0 && WIFEXITED(captured.status) && WEXITSTATUS(captured.status) == kNotStarted;
}

void OVPlanNames::takeShell(const OVTaskRemoval& removal) {
    for (const std::string_view pattern : removal.patterns) {
        if (pattern.starts_with('@')) {
            // No pattern: it stands in the line between quotes.
            const std::string path = stringByAppendingPathComponent(arguments_.front(), pattern.substr(1));
            if (isThere(inFolder(path))) {
                names.emplace_back(inFolder(path));
            }
            continue;
        }
        Paths paths = expand(pattern);
        std::erase_if(paths, [&](const std::string& path) { return aside_.contains(path); });
        const bool isKept = isTooLong(pattern, paths);
        names.reserve(names.size() + paths.size());
        for (std::string& path : paths) {
            names.emplace_back(std::move(path), isKept ? Fate::kept : Fate::removed, isKept ? E2BIG : 0);
        }
    }
}

void OVPlanNames::takeList(const OVTaskRemoval& removal) {
    for (const std::string_view pattern : removal.patterns) {
        Paths paths = pattern == "@" ? arguments_ : expand(pattern);
        list_.insert(list_.end(), std::make_move_iterator(paths.begin()), std::make_move_iterator(paths.end()));
    }
}

/// The list as a whole, whatever it was made of.
void OVPlanNames::takeArrivals() {
    const bool isAfterDashes = isOverwritten();
    OVArrivals arrivals = OVArrivals::ofNames(list_, searchPath(), services_.processInfo.temporaryDirectory());
    setError(arrivals.error);
    names.reserve(names.size() + list_.size());
    for (std::size_t index = 0; index < list_.size(); ++index) {
        const bool isOption = !isAfterDashes && list_[index].starts_with('-');
        OVPlanName named(isOption ? std::move(list_[index]) : inFolder(std::move(list_[index])));
        if (arrivals.kinds[index] == OVArrivals::Kind::takenApart) {
            named.fate = Fate::takenApart;
            named.become(std::move(arrivals.becomes[index]));
        } else if (arrivals.kinds[index] == OVArrivals::Kind::lost) {
            named.fate = Fate::kept;
        } else if (isOption) {
            named.fate = Fate::kept;
            named.reason = EINVAL;
        }
        names.push_back(std::move(named));
    }
    list_ = Paths();
    for (const std::string& word : arrivals.strangers) {
        takeStranger(word, isAfterDashes);
    }
}

/// A piece of a name: it goes if something is there by that name. Options and the folder itself are no names.
void OVPlanNames::takeStranger(const std::string& word, bool isAfterDashes) {
    std::string path = inFolder(word);
    const bool isFolderMeant = word.ends_with('/');
    path.resize(path.find_last_not_of('/') + 1);
    const std::string name = lastPathComponent(path);
    if (word.empty() || path.empty() || name == "." || name == ".." || (word.starts_with('-') && !isAfterDashes) ||
        (isFolderMeant && !OVIsFolder(path)) || !isThere(path)) {
        return;
    }
    names.emplace_back(std::move(path), Fate::found);
}

// --- find

/// Where `find` begins.
Paths OVPlanNames::starts(const OVTaskRemoval& removal) {
    Paths paths;
    for (const std::string_view pattern : removal.patterns) {
        Paths some;
        if (pattern == "@") {
            some = {inFolder(arguments_.front())};
        } else if (pattern.find('*') != std::string_view::npos) {
            some = expand(pattern);
        } else {
            some = {atHome(pattern)};
        }
        std::move(some.begin(), some.end(), std::back_inserter(paths));
    }
    return paths;
}

/// The predicate's pattern for names. In a line it stands without quotes, so that the shell puts what matches it in the
/// working folder in its place: one name is looked for itself, more are an error for `find`.
Paths OVPlanNames::namePatterns(const OVTaskRemoval& removal) const {
    if (removal.way == Way::find) {
        const Paths here = Globbing::arrayWithFilesMatchingPattern(removal.predicate, workingFolder_);
        if (here.size() > 1) {
            return {};
        }
        if (here.size() == 1) {
            return {lastPathComponent(here.front())};
        }
    }
    return {std::string(removal.predicate)};
}

/// Whether `find -delete` leaves nothing in what it wants to delete: it deletes from the innermost on.
bool OVPlanNames::isEmptied(const std::string& path, const OVTaskRemoval& removal, std::int32_t depth) {
    std::string at = path;
    for (; OVIsFolder(at); ++depth) {
        const Paths inside = OVNamesIn(at, unreadable);
        if (inside.empty()) {
            return ::access(at.c_str(), R_OK) == 0;
        }
        if (inside.size() > 1 || !matches(removal.predicate, inside.front()) ||
            (removal.maxDepth >= 0 && depth >= removal.maxDepth)) {
            return false;
        }
        at += "/" + inside.front();
    }
    return true;
}

void OVPlanNames::takeFound(const OVTaskRemoval& removal) {
    const Paths patterns = namePatterns(removal);
    if (patterns.empty()) {
        return;
    }
    const std::string& pattern = patterns.front();
    OVTreeWalk look({.progress = progress(), .visit = [&](const OVTreeWalk::Entry& entry) {
                         const bool isMatch = matches(pattern, std::string(entry.name));
                         const bool isFile = S_ISREG(entry.status.st_mode);
                         if (isMatch && (removal.way != Way::findFiles || isFile)) {
                             OVPlanName named(entry.path());
                             if (removal.way == Way::findEmptied && !isEmptied(named.tree.path, removal, entry.depth)) {
                                 named.fate = Fate::kept;
                                 named.reason = ENOTEMPTY;
                             }
                             names.push_back(std::move(named));
                         }
                         const bool isDeepest = removal.maxDepth >= 0 && entry.depth >= removal.maxDepth;
                         return !isDeepest && !(isMatch && removal.way == Way::find);
                     }});
    this->look(look, starts(removal));
}

void OVPlanNames::takeDamaged(const OVTaskRemoval& removal) {
    std::string folders;
    const Paths paths = starts(removal);
    if (::geteuid() != 0) {
        // What the planner's own `find` cannot look into.
        OVTreeWalk look({.progress = progress()});
        this->look(look, paths);
    }
    for (const std::string& path : paths) {
        if (path.find_first_of("\"$`\\") != std::string::npos) {
            setError(EINVAL); // the shell would act on it
            return;
        }
        folders += stringWithFormat(lines::kQuotedFolder, {path});
    }
    constexpr std::string_view kRemover = " | xargs rm -fv";
    static_assert(lines::kRemoveDamagedPreferences.ends_with(kRemover));
    std::string_view format = lines::kRemoveDamagedPreferences;
    format.remove_suffix(kRemover.size());
    const std::string temporary = services_.processInfo.temporaryDirectory();
    const OVCaptured damaged =
        OVCapture(std::string(searchPath()) + stringWithFormat(format, {folders}), "", temporary);
    setError(damaged.error);
    if (damaged.output.empty() || plan_.error != 0) {
        return;
    }
    const OVCaptured arrived =
        OVCapture(std::string(searchPath()) + R"(xargs /usr/bin/printf '%s\0')", damaged.output, temporary);
    setError(arrived.error);
    const Paths words = OVPieces(arrived.output, '\0');
    const std::unordered_set<std::string_view> whole(words.begin(), words.end());
    const Paths complained = OVPieces(damaged.output, '\n');
    const std::unordered_set<std::string_view> known(complained.begin(), complained.end());
    for (const std::string& name : complained) {
        const bool isPath = name.starts_with('/') && matches(removal.predicate, name);
        if (!whole.contains(name)) {
            const OVCaptured pieces =
                OVCapture(std::string(searchPath()) + R"(xargs /usr/bin/printf '%s\n')", name, temporary);
            std::string becomes = pieces.output;
            if (becomes.ends_with('\n')) {
                becomes.pop_back();
            }
            names.emplace_back(name, Fate::takenApart, 0, std::move(becomes));
        } else if (isPath && ::geteuid() != 0 && isByRoot_ && ::access(name.c_str(), R_OK) != 0) {
            unreadable.insert(name); // root may find it right
        } else if (isPath && isThere(name)) {
            const bool isKept = OVIsFolder(name);
            names.emplace_back(name, isKept ? Fate::kept : Fate::removed, isKept ? EISDIR : 0);
        } else if (!isPath) {
            takeStranger(name, false);
        }
    }
    for (const std::string& word : words) {
        if (!known.contains(word) && !OVIsFolder(inFolder(word))) {
            takeStranger(word, false);
        }
    }
}

// --- moved

void OVPlanNames::takeMoved(const OVTaskRemoval& removal) {
    if (!options_.archiveDesktopPath || options_.archiveDesktopPath->empty()) {
        setError(ENOENT);
        return;
    }
    const std::string archive = stringByExpandingTildeInPath(*options_.archiveDesktopPath, services_.calls);
    if (::access(archive.c_str(), W_OK | X_OK) != 0) {
        setError(errno);
        return;
    }
    const std::string folder = UniqueDestination::findUniqueDestinationForFile(
        desktopArchiveName(services_.bundle(), services_.locale()), archive, services_.calls);
    const std::string desktop = atHome(removal.patterns.front());
    plan_.commands.push_back(OVCommandLine("/usr/bin/find", desktopArchiveArguments(desktop, folder)));
    const std::string target = keyOf(folder);
    OVTreeWalk look({.visit = [&](const OVTreeWalk::Entry& entry) {
        if (entry.depth == 1 && !matches(removal.predicate, std::string(entry.name))) {
            OVPlanName named(entry.path(), Fate::moved, 0, stringByAppendingPathComponent(folder, entry.name));
            if (liesIn({target, {}}, {keyOf(named.tree.path), {}})) {
                named.reason = EINVAL; // a folder cannot move into itself
            } else if (S_ISDIR(entry.status.st_mode) && ::access(named.tree.path.c_str(), W_OK) != 0) {
                named.reason = errno; // it has an entry for the folder above it
            }
            if (named.reason != 0) {
                named.fate = Fate::kept;
                named.become("");
            }
            names.push_back(std::move(named));
        }
        return entry.depth < removal.maxDepth;
    }});
    this->look(look, {desktop});
    std::sort(names.begin(), names.end(),
              [](const OVPlanName& left, const OVPlanName& right) { return left.tree.path < right.tree.path; });
}

/// What is moved into the other folder comes back unless it could not go there: something is in its place that it
/// cannot overwrite, and stays, while it is removed itself. What is overwritten there is gone, and what has such a name
/// there anyway comes along.
void OVPlanNames::takeAside(const OVTaskRemoval& removal) {
    const std::string other(removal.predicate);
    for (const std::string_view pattern : removal.patterns) {
        for (const std::string& path : expand(pattern)) {
            const std::string place = other + "/" + lastPathComponent(path);
            if (isThere(place)) {
                const bool isOverFolder = OVIsFolder(place);
                if (OVIsFolder(path) != isOverFolder || (isOverFolder && !OVNamesIn(place, unreadable).empty())) {
                    continue;
                }
                names.emplace_back(place); // and not moved back: what is named twice counts as it was first
            }
            aside_.insert(path);
            names.emplace_back(path, Fate::kept);
        }
    }
    for (const std::string_view pattern : removal.patterns) {
        for (const std::string& path : expand(other + "/" + lastPathComponent(pattern))) {
            const std::string becomes = OVFolderOf(pattern) + "/" + lastPathComponent(path);
            names.emplace_back(path, Fate::moved, 0, becomes);
        }
    }
}

// --- of all

std::function<bool(std::uint64_t)> OVPlanNames::progress() {
    if (!options_.progress) {
        return {};
    }
    return [this](std::uint64_t entries) { return options_.progress(seen_ + entries); };
}

/// The planner's own looks at what is there.
void OVPlanNames::look(OVTreeWalk& walk, Paths paths) {
    std::vector<OVTreeWalk::Tree> trees;
    for (std::string& path : paths) {
        trees.push_back({.path = std::move(path)});
    }
    end(walk, walk.walk(trees));
    for (const OVTreeWalk::Tree& tree : trees) {
        seen_ += tree.entries;
        noteUnseen(tree);
    }
}

bool OVPlanNames::walk(OVTreeWalk& walk) {
    for (OVPlanName& named : names) {
        named.tree = {.path = std::move(named.tree.path)};
    }
    end(walk, walk.walk(names.size(),
                        [this](std::size_t index) { return names[index].goes() ? &names[index].tree : nullptr; }));
    for (const OVPlanName& named : names) {
        seen_ += named.tree.entries;
        noteUnseen(named.tree);
    }
    return plan_.isComplete;
}

/// What has gone meanwhile is not missed.
void OVPlanNames::noteUnseen(const OVTreeWalk::Tree& tree) {
    if (tree.error != 0 && !isGone(tree.error)) {
        unreadable.insert(tree.path);
    }
}

void OVPlanNames::end(const OVTreeWalk& walk, bool isWhole) {
    plan_.isComplete = isWhole && plan_.isComplete;
    unreadable.insert(walk.unreadable.begin(), walk.unreadable.end());
}

/// What lies in something that goes, or was named before, is not told once more.
void OVPlanNames::dropCovered() {
    // There may be millions, and a string for the key of each would be as much again.
    struct Place {
        std::uint32_t folder;
        std::uint32_t index;
    };
    std::vector<std::string> folders;
    std::vector<Place> places;
    places.reserve(names.size());
    std::string_view last;
    for (const OVPlanName& named : names) {
        const std::string_view folder = partsOf(named.tree.path).folder;
        if (folders.empty() || folder != last) {
            folders.push_back(realFolder(folder));
            last = folder;
        }
        places.push_back({static_cast<std::uint32_t>(folders.size() - 1), static_cast<std::uint32_t>(places.size())});
    }
    const auto keyOf = [&](const Place& place) {
        return Parts{folders[place.folder], partsOf(names[place.index].tree.path).name};
    };
    const auto isBefore = [&](const Place& left, const Place& right) {
        const int order = compare(keyOf(left), keyOf(right));
        return order < 0 || (order == 0 && names[left.index].goes() && !names[right.index].goes());
    };
    if (!std::is_sorted(places.begin(), places.end(), isBefore)) {
        std::stable_sort(places.begin(), places.end(), isBefore);
    }
    std::vector<bool> isDropped(names.size());
    std::optional<Place> outer;
    for (const Place& place : places) {
        if (outer && (compare(keyOf(place), keyOf(*outer)) == 0 || liesIn(keyOf(place), keyOf(*outer)))) {
            isDropped[place.index] = true;
        } else if (names[place.index].goes()) {
            outer = place;
        }
    }
    std::size_t count = 0;
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (!isDropped[index]) {
            if (count != index) {
                names[count] = std::move(names[index]);
            }
            ++count;
        }
    }
    names.erase(names.begin() + static_cast<std::ptrdiff_t>(count), names.end());
}

} // namespace orvane
