#include "Support/OVLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskLines.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

std::int32_t OVTaskRunner::secureDeleteItemsAtPaths(const std::vector<std::string>& paths) {
    return runBashCommand(lines::kSecureDelete, paths);
}

std::int32_t OVTaskRunner::forceDeleteItemsAtPaths(const std::vector<std::string>& paths) {
    return runBashCommand(lines::kForceDelete, paths);
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
    return runBashCommand(stringWithFormat(lines::kRemoveDSStoreFiles, {path}));
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
    return inHome("Library");
}

std::string OVTaskRunner::inHome(std::string_view path) {
    return stringByAppendingPathComponent(homeDirectory(), path);
}

std::vector<std::string> OVTaskRunner::userTrashitems() {
    return {};
}

std::int32_t OVTaskRunner::removeCorruptUserPreferences() {
    return removeCorruptPreferencesInPaths({userLibraryFolder()});
}

std::int32_t OVTaskRunner::removeCorruptPreferencesInPaths(const std::vector<std::string>& paths) {
    std::string folders;
    for (const std::string& path : paths) {
        folders += stringWithFormat(lines::kQuotedFolder, {path});
    }
    return runBashCommand(stringWithFormat(lines::kRemoveDamagedPreferences, {folders}));
}

std::int32_t OVTaskRunner::cleanStaleTemporaryFiles() {
    return runBashCommand(stringWithFormat(lines::kCleanStaleTemporaryFiles,
                                           {kOVSecureEraseFreeSpaceTempFilename, kOVSecureEraseFreeSpaceTempFilename}));
}

} // namespace orvane
