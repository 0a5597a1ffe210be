#include "Support/OVFile.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

namespace {

constexpr std::uint64_t kBytesInMegabyte = 1000000; // deliberately decimal

} // namespace

std::int32_t OVTaskRunner::findLargeFilesInPath(const std::string& path) {
    const auto failure = [this](const std::string& text) {
        tellOwner(text);
        return kTaskFailure;
    };
    FileManager& fileManager = services_.fileManager();
    const std::string displayName = fileManager.displayNameAtPath(path);
    const auto owner = delegate();
    const std::uint64_t megabytes = owner != nullptr ? owner->largeFilesSize() : 0;

    const auto templatePath = services_.bundle().pathForResource("LargeFilesTemplate", "savedSearch");
    const OVTextFile file = OVTextFile::read(templatePath, services_.calls);
    if (!file.text) {
        return failure(stringWithFormat("ERROR reading template file %@: %@", {textOrNull(templatePath), file.error}));
    }
    // Deliberately in 64 bits, beyond which the bytes wrap, and without escaping the path for the property list.
    const std::string limit = std::to_string(megabytes);
    std::string text = stringByReplacing("__SIZE_IN_BYTES__", std::to_string(megabytes * kBytesInMegabyte), *file.text);
    text = stringByReplacing("__SIZE_IN_MEGABYTES__", limit, text);
    text = stringByReplacing("__PATH__", path, text);

    const std::string searchFile = stringByAppendingPathComponent(
        services_.processInfo.temporaryDirectory(),
        stringWithFormat("Files Larger than %@ MB in %@.savedSearch", {limit, displayName}));
    // It names a folder of the user, and the user's own Finder reads it.
    OVAtomicFile saved(searchFile, 0600, services_.calls);
    saved.append(text);
    if (const std::int32_t error = saved.commit(); error != 0) {
        return failure(
            stringWithFormat("ERROR writing saved search file %@: %@", {searchFile, errorDescription(error)}));
    }
    if (const auto error = fileManager.hideExtensionOfItemAtPath(searchFile)) {
        return failure(stringWithFormat("ERROR hiding extension of saved search file %@: %@", {searchFile, *error}));
    }
    if (!services_.workspace().openFile(searchFile, "Finder")) {
        return failure(stringWithFormat("ERROR opening saved search %@", {searchFile}));
    }
    return kTaskSuccess;
}

} // namespace orvane
