#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// Where a user's programs keep what is theirs.
class UserFolders {
  public:
    /// Those of the process's real user. Lives for ever; may be used from any thread.
    static UserFolders& platform();

    /// The folder for the records of the program of that name ("Orvane"): "~/Library/Logs/Orvane"; elsewhere
    /// "orvane" in XDG_STATE_HOME or "~/.local/state". It need not exist. Nothing for a user without a home.
    virtual std::optional<std::string> recordFolder(std::string_view program) = 0;

  protected:
    ~UserFolders() = default;
};

} // namespace orvane
