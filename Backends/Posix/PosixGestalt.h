#pragma once

#include "Backends/Posix/MadeOnce.h"
#include "Platform/Gestalt.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace orvane {

/// The version's three numbers, of which the last may be missing ("10.6") and then is 0.
using SystemVersionNumbers = std::array<std::int32_t, 3>;

/// The version from a "SystemVersion.plist"; nothing when it is damaged or tells none.
std::optional<SystemVersionNumbers> systemVersionFromPropertyList(std::string_view text);

/// Answers from the system's "SystemVersion.plist", read at the first question.
class PosixGestalt final : public Gestalt {
  public:
    constexpr explicit PosixGestalt(const char* path) : path_(path) {}

    /// `gestaltUnknownErr` where there is no such file or it is damaged, `gestaltUndefSelectorErr` for a question about
    /// anything but the version.
    std::int16_t ask(std::uint32_t selector, std::int32_t* response) override;

    /// For an object that does not live for ever.
    void discard() { version_.discard(); }

  private:
    const char* path_;
    MadeOnce<std::optional<SystemVersionNumbers>> version_;
};

} // namespace orvane
