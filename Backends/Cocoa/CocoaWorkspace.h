#pragma once

#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Workspace.h"

namespace orvane::cocoa {

/// An `NSRunningApplication`.
class CocoaRunningApplication final : public RunningApplication {
  public:
    explicit CocoaRunningApplication(NSRunningApplication* application) : application_(application) {}

    std::optional<std::string> bundleIdentifier() override {
        return guarded(std::optional<std::string>(), [&] { return optionalTextOf([application() bundleIdentifier]); });
    }
    std::optional<std::string> localizedName() override {
        return guarded(std::optional<std::string>(), [&] { return optionalTextOf([application() localizedName]); });
    }
    std::optional<std::string> bundlePath() override {
        return guarded(std::optional<std::string>(), [&] { return optionalTextOf([[application() bundleURL] path]); });
    }
    std::int32_t processIdentifier() override {
        return guarded(std::int32_t{-1}, [&]() -> std::int32_t { return [application() processIdentifier]; });
    }
    std::int32_t activationPolicy() override {
        return guarded(std::int32_t{kActivationPolicyProhibited},
                       [&] { return static_cast<std::int32_t>([application() activationPolicy]); });
    }
    bool terminate() override {
        return guarded(false, [&] { return [application() terminate] != NO; });
    }

    [[nodiscard]] NSRunningApplication* application() const { return application_.get(); }

  private:
    Retained<NSRunningApplication> application_;
};

} // namespace orvane::cocoa
