#include "Backends/Posix/PosixBundle.h"

#include "Backends/Posix/PropertyListStrings.h"
#include "Backends/Posix/UserLanguages.h"
#include "Platform/Executable.h"
#include "Support/OVFile.h"
#include "Support/OVLog.h"

#include <algorithm>
#include <memory>
#include <unistd.h>
#include <utility>

namespace orvane {

namespace {

/// The folder without the components at its end; nothing when it does not end with them.
std::optional<std::string> without(std::string_view components, const std::string& folder) {
    return folder.ends_with(components) ? std::optional(folder.substr(0, folder.size() - components.size()))
                                        : std::nullopt;
}

std::optional<std::string> executableFolder() {
    std::optional<std::string> path = Executable::current().executablePath();
    if (path) {
        path->erase(path->rfind('/'));
    }
    return path;
}

} // namespace

struct PosixBundle::LoadedTable {
    StringsTable entries;
    std::string damage; ///< what to tell about a table that cannot be used
};

PosixBundle::PosixBundle(const std::optional<std::string>& executableFolder, std::vector<std::string> languages)
    : languages_(std::move(languages)) {
    if (!executableFolder) {
        return;
    }
    if (const auto bundle = without("/Contents/MacOS", *executableFolder)) {
        resourceFolders_.push_back(*bundle + "/Contents/Resources");
        informationFile_ = *bundle + "/Contents/Info.plist";
        return;
    }
    resourceFolders_.push_back(*executableFolder + "/Resources");
    if (const auto prefix = without("/bin", *executableFolder)) {
        resourceFolders_.push_back(*prefix + "/share/orvane");
    }
}

PosixBundle::~PosixBundle() {
    table_.discard();
}

std::optional<std::string> PosixBundle::bundleIdentifier() {
    if (informationFile_.empty()) {
        return std::nullopt;
    }
    const OVTextFile file = OVTextFile::read(informationFile_);
    const auto strings = file.text ? stringsInPropertyList(*file.text) : std::nullopt;
    if (!strings) {
        return std::nullopt;
    }
    const auto found = strings->find("CFBundleIdentifier");
    return found != strings->end() ? std::optional(found->second) : std::nullopt;
}

std::optional<std::string> PosixBundle::pathInFolder(const std::string& folder, const std::string& file) const {
    const auto pathIn = [&](std::string subfolder) -> std::optional<std::string> {
        std::string path = folder + '/' + subfolder.append(file);
        return ::access(path.c_str(), F_OK) == 0 ? std::optional(std::move(path)) : std::nullopt;
    };
    for (std::string language : languages_) {
        auto path = pathIn(language + ".lproj/");
        if (!path) {
            std::replace(language.begin(), language.end(), '_', '-'); // the folder's name in the newer spelling
            path = pathIn(language + ".lproj/");
        }
        if (path) {
            return path;
        }
    }
    return pathIn("");
}

std::optional<std::string> PosixBundle::pathForResource(std::string_view name, std::string_view ofType) {
    std::string file(name);
    if (!ofType.empty()) {
        file.append(".").append(ofType);
    }
    for (const std::string& folder : resourceFolders_) {
        if (auto path = pathInFolder(folder, file)) {
            return path;
        }
    }
    return std::nullopt;
}

std::string PosixBundle::localizedString(std::string_view key) {
    const auto load = [this] {
        auto table = std::make_unique<LoadedTable>();
        if (const std::optional<std::string> path = pathForResource("Localizable", "strings")) {
            const OVTextFile file = OVTextFile::read(*path);
            std::string damage = " " + file.error;
            if (auto entries = file.text ? readStringsTable(*file.text, damage) : std::nullopt) {
                table->entries = std::move(*entries);
            } else {
                table->damage = *path + ":" + damage;
            }
        }
        return table;
    };
    const LoadedTable& table = table_.value(load, [](const LoadedTable& kept) {
        if (!kept.damage.empty()) {
            OVLog("The translated texts cannot be used: %s", kept.damage.c_str());
        }
    });
    const auto found = table.entries.find(key);
    return found != table.entries.end() ? found->second : std::string(key);
}

Bundle& Bundle::platform() {
    static constinit MadeOnce<PosixBundle> bundle;
    return bundle.value([] { return std::make_unique<PosixBundle>(executableFolder(), userLanguages()); });
}

} // namespace orvane
