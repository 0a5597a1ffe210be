#include "Platform/FileManager.h"
#include "Support/OVPath.h"

namespace orvane {

namespace {

class HeadlessFileManager final : public FileManager {
  public:
    std::string displayNameAtPath(const std::string& path) override { return lastPathComponent(path); }

    std::optional<std::string> hideExtensionOfItemAtPath(const std::string& /*path*/) override { return std::nullopt; }
};

} // namespace

FileManager& FileManager::platform() {
    static constinit HeadlessFileManager manager;
    return manager;
}

} // namespace orvane
