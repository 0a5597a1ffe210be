#include "Support/OVAssert.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"
#include "Tasks/OVTaskStatus.h"

namespace orvane {

namespace {

constexpr std::string_view kSecureDeletion = "/usr/bin/srm -v -f -r -m --";
constexpr std::string_view kForcedDeletion = "rm -rfv";

} // namespace

std::int32_t OVTaskRunner::secureDeleteItemsAtPaths(const std::vector<std::string>& paths) {
    return runBashCommand(kSecureDeletion, paths);
}

std::int32_t OVTaskRunner::forceDeleteItemsAtPaths(const std::vector<std::string>& paths) {
    return runBashCommand(kForcedDeletion, paths);
}

std::int32_t OVTaskRunner::forceDeleteItemsAtGlobs(const std::vector<std::string>& globs) {
    return forceDeleteItemsAtPaths(pathsByExpandingGlobs(globs));
}

std::int32_t OVTaskRunner::secureDeleteFiles() {
    const auto paths = promptForFiles();
    return paths ? secureDeleteItemsAtPaths(*paths) : kTaskCancelled;
}

std::int32_t OVTaskRunner::forceDeleteFiles() {
    const auto paths = promptForFiles();
    return paths ? forceDeleteItemsAtPaths(*paths) : kTaskCancelled;
}

std::int32_t OVTaskRunner::secureEmptyTrash() {
    return secureDeleteItemsAtPaths(userTrashitems());
}

std::int32_t OVTaskRunner::forceEmptyTrash() {
    return forceDeleteItemsAtPaths(userTrashitems());
}

std::int32_t OVTaskRunner::removeDSStoreFilesInPath(std::string_view path) {
    return runBashCommand(stringWithFormat(
        R"(/usr/bin/find "%@" -name .DS_Store -type f -print0 | /usr/bin/xargs -0 /bin/rm -fv)", {path}));
}

std::int32_t OVTaskRunner::removeDSStoreFilesInHomeFolder() {
    return removeDSStoreFilesInPath(homeDirectory());
}

std::int32_t OVTaskRunner::removeDSStoreFilesInFolder() {
    const auto folder = promptForFolder();
    return folder ? removeDSStoreFilesInPath(*folder) : kTaskCancelled;
}

std::optional<std::vector<std::string>> OVTaskRunner::promptForFiles() {
    return pathsWithDirectoriesOnly(false, true);
}

std::optional<std::string> OVTaskRunner::promptForFolder() {
    const auto paths = pathsWithDirectoriesOnly(true, false);
    if (!paths) {
        return std::nullopt;
    }
    OVAssert(!paths->empty(), "-[OVTaskRunner promptForFolder]");
    return paths->front();
}

std::optional<std::vector<std::string>> OVTaskRunner::pathsWithDirectoriesOnly(bool directoriesOnly,
                                                                               bool allowsMultipleSelection) {
    const auto owner = delegate();
    if (owner == nullptr || owner->shouldCancel()) {
        return std::nullopt;
    }
    return owner->inputPathsWithDirectoriesOnly(directoriesOnly, allowsMultipleSelection);
}

std::string OVTaskRunner::homeDirectory() {
    const auto home = homeDirectoryOfUser(services_.calls.getuid());
    OVAssert(home.has_value(), "-[OVTaskRunner homeDirectory]");
    return *home; // NOLINT(bugprone-unchecked-optional-access): asserted
}

std::string OVTaskRunner::userLibraryFolder() {
    return stringByAppendingPathComponent(homeDirectory(), "Library");
}

std::vector<std::string> OVTaskRunner::userTrashitems() {
    return {};
}

} // namespace orvane
