// Patterns on a small folder: what comes out is there, is named once for each pattern, and is what a comparison of each
// component finds.

#include "Helpers/NSFileManager+Globbing.h"
#include "Tests/Fuzz/Fuzz.h"

#include <algorithm>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using namespace orvane;

namespace {

constexpr const char* kFolders[] = {"a", "ab", ".hidden", "a/b", "a/.b", "ab/a*"};
constexpr const char* kFiles[] = {"b", "a/c", "a/[c]", "a/b/c", "ab/\xC3\xA4", "ab/a*/?", ".hidden/x", "-"};

/// Made once a process, and removed at its end.
struct Tree {
    std::string root = "/tmp/orvane-fuzz-XXXXXX";
    std::vector<std::string> paths;

    Tree() {
        FUZZ_CHECK(::mkdtemp(root.data()) != nullptr);
        for (const char* folder : kFolders) {
            paths.emplace_back(folder);
            FUZZ_CHECK(::mkdir((root + "/" + folder).c_str(), 0755) == 0);
        }
        for (const char* file : kFiles) {
            paths.emplace_back(file);
            FUZZ_CHECK(::close(::open((root + "/" + file).c_str(), O_CREAT | O_WRONLY, 0644)) == 0);
        }
    }
    ~Tree() {
        for (auto path = paths.rbegin(); path != paths.rend(); ++path) {
            ::remove((root + "/" + *path).c_str());
        }
        ::rmdir(root.c_str());
    }
};

/// Without what has a meaning of its own beyond stars and question marks, a pattern is its components' patterns.
bool isSimple(std::string_view pattern) {
    return pattern.find_first_of(std::string_view("[]\\\0", 4)) == std::string_view::npos &&
           pattern.find('.') == std::string_view::npos && pattern.find("//") == std::string_view::npos &&
           !pattern.starts_with("/") && !pattern.ends_with("/") && !pattern.empty() && fuzz::isText(pattern);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Tree tree;
    const std::string pattern(fuzz::bytes(data, std::min<std::size_t>(size, 64)));
    // Climbing out of the folder, by "..", ".?" or ".*", would list the machine's own.
    const std::size_t dot = pattern.find('.');
    if ((dot != std::string::npos && pattern.find_first_of("?*.[\\", dot + 1) != std::string::npos) ||
        pattern.find('[') < pattern.find(']')) {
        return 0;
    }
    const auto found = Globbing::arrayWithFilesMatchingPattern(pattern, tree.root);
    for (const std::string& path : found) {
        struct stat status = {};
        FUZZ_CHECK(::lstat(path.c_str(), &status) == 0);
        FUZZ_CHECK(path.starts_with(tree.root));
    }
    if (isSimple(pattern)) {
        std::vector<std::string> wanted;
        for (const std::string& path : tree.paths) {
            if (::fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME | FNM_PERIOD | FNM_NOESCAPE) == 0) {
                wanted.push_back(tree.root + "/" + path);
            }
        }
        std::vector<std::string> sorted = found;
        std::sort(sorted.begin(), sorted.end());
        std::sort(wanted.begin(), wanted.end());
        FUZZ_CHECK(sorted == wanted);
    }
    return 0;
}
