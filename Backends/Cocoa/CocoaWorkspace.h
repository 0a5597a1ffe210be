#pragma once

#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Workspace.h"

namespace orvane::cocoa {

/// An `NSRunningApplication`.
class CocoaRunningApplication final : public RunningApplication {
  public:
    explicit CocoaRunningApplication(NSRunningApplication* application) : application_(application) {}

    std::optional<std::string> bundleIdentifier() override;
    std::optional<std::string> localizedName() override;
    std::optional<std::string> bundlePath() override;
    std::int32_t processIdentifier() override;
    std::int32_t activationPolicy() override;
    bool terminate() override;

    [[nodiscard]] NSRunningApplication* application() const { return application_.get(); }

  private:
    Retained<NSRunningApplication> application_;
};

} // namespace orvane::cocoa
