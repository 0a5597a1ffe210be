#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// The application's bundle (`NSBundle`'s `mainBundle`): what stands beside the running program for it.
///
/// Without the framework it is the folder that holds the executable, or the bundle around it where that folder is
/// ".../Contents/MacOS": resources stand in "Resources", texts in the user's language in
/// "Resources/<language>.lproj/Localizable.strings". A program installed in "<prefix>/bin" finds what is not there in
/// "<prefix>/share/orvane".
class Bundle {
  public:
    /// That of the running process. Lives for ever; may be used from any thread.
    static Bundle& platform();

    /// `bundleIdentifier`: nothing for a program without a bundle.
    virtual std::optional<std::string> bundleIdentifier() = 0;

    /// `pathForResource:ofType:`: the absolute path of the resource, that in the user's language first; nothing when
    /// there is none.
    virtual std::optional<std::string> pathForResource(std::string_view name, std::string_view ofType) = 0;

    /// `localizedStringForKey:value:table:` with an empty value and the default table: the text in the user's
    /// language; the key itself where there is no table, or none with the key.
    virtual std::string localizedString(std::string_view key) = 0;

  protected:
    ~Bundle() = default;
};

} // namespace orvane
