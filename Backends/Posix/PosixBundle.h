#pragma once

#include "Backends/Posix/MadeOnce.h"
#include "Backends/Posix/StringsTable.h"
#include "Platform/Bundle.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// What stands beside the program in the given folder.
class PosixBundle final : public Bundle {
  public:
    /// No folder (the system cannot tell where the program is): nothing stands there.
    PosixBundle(const std::optional<std::string>& executableFolder, std::vector<std::string> languages);
    PosixBundle(const PosixBundle&) = delete;
    PosixBundle& operator=(const PosixBundle&) = delete;
    ~PosixBundle();

    std::optional<std::string> bundleIdentifier() override;
    std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) override;
    std::string localizedString(std::string_view key) override;

  private:
    struct LoadedTable;
    [[nodiscard]] std::optional<std::string> pathInFolder(const std::string& folder, const std::string& file) const;

    std::vector<std::string> resourceFolders_; ///< in the order in which they are searched
    std::string informationFile_;              ///< "Info.plist", "" for a program without a bundle
    std::vector<std::string> languages_;
    MadeOnce<LoadedTable> table_;
};

} // namespace orvane
