#include "Platform/Workspace.h"

#include <limits>

namespace orvane {

namespace {

class HeadlessWorkspace final : public Workspace {
  public:
    std::vector<std::shared_ptr<RunningApplication>> runningApplications() override { return {}; }

    bool launchApplication(const std::string& /*path*/) override { return false; }

    std::shared_ptr<RunningApplication> launchApplicationAtURL(const std::string& /*path*/,
                                                               std::uint32_t /*options*/) override {
        return nullptr;
    }

    bool openFile(const std::string& /*path*/, const std::string& /*withApplication*/) override { return false; }

    double appKitVersionNumber() override { return std::numeric_limits<double>::infinity(); }
};

} // namespace

Workspace& Workspace::platform() {
    static constinit HeadlessWorkspace workspace;
    return workspace;
}

} // namespace orvane
