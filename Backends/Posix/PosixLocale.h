#pragma once

#include <ctime>
#include <string>

namespace orvane {

/// The decimal separator of the named locale, "" being that of the environment; "." where the system has no such locale
/// or the separator is not to be read as UTF-8.
std::string decimalSeparatorOfLocale(const char* name);

/// The day of the moment in the local time zone, as "2026-11-20".
std::string dateStringOfTime(std::time_t moment);

} // namespace orvane
