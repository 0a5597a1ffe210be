#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace orvane {

/// `stringWithFormat:` for a translated text with one "%@" (or "%1$@") in it, "%%" standing for a percent sign.
/// Nothing when the format holds anything else that asks for a value: a translation may not make the program read
/// what it was not given.
std::optional<std::string> stringWithFormat(std::string_view format, std::string_view argument);

} // namespace orvane
