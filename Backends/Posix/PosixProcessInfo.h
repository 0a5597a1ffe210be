#pragma once

#include "Platform/ProcessInfo.h"

namespace orvane {

/// The part of `ProcessInfo` that is the same on every system.
class PosixProcessInfo : public ProcessInfo {
  public:
    /// Random bits in the form of a UUID, the process id and a number counted in this process, so that even
    /// without a random device no text comes twice.
    std::string globallyUniqueString() override;

  protected:
    ~PosixProcessInfo() = default;
};

} // namespace orvane
