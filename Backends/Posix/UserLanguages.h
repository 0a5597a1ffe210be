#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvane {

/// The languages that the user reads, the best first ("de_DE", "de", "en"), from the variables LANGUAGE, LC_ALL,
/// LC_MESSAGES and LANG as gettext takes them. The last is always English, the language of the keys: what would come
/// behind it is not needed. `variable` answers null for one that is not set.
std::vector<std::string> userLanguages(const std::function<const char*(const char* name)>& variable);

/// The same from the process' own environment.
std::vector<std::string> userLanguages();

} // namespace orvane
