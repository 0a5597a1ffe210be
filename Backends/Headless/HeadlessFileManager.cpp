#include "Platform/FileManager.h"
#include "Support/OVPath.h"

namespace orvane {

namespace {

class HeadlessFileManager final : public FileManager {
  public:
    /// The name becomes part of a file's name, so that the root has one without a slash.
    std::string displayNameAtPath(const std::string& path) override {
        const std::string name = lastPathComponent(path);
        return name == "/" ? "Root" : name;
    }

    std::optional<std::string> hideExtensionOfItemAtPath(const std::string& /*path*/) override { return std::nullopt; }
};

} // namespace

FileManager& FileManager::platform() {
    static constinit HeadlessFileManager manager;
    return manager;
}

} // namespace orvane
