#pragma once

#include "Backends/Posix/MadeOnce.h"
#include "Backends/Posix/StringsTable.h"
#include "Platform/Bundle.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// The languages that the user reads, the best first ("de_DE", "de", "en"), from the variables LANGUAGE, LC_ALL,
/// LC_MESSAGES and LANG as gettext takes them. The last is always English, the language of the keys: what would come
/// behind it is not needed. `variable` answers null for one that is not set.
std::vector<std::string> userLanguages(const std::function<const char*(const char* name)>& variable);

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
