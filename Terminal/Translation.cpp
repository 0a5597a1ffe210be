#include "Terminal/Translation.h"

#include "Platform/Bundle.h"
#include "Support/ZRBytesValueTransformer.h"

#include <array>
#include <ctime>

namespace orvane::terminal {

std::string translated(std::string_view english) {
    return Bundle::platform().localizedString(english);
}

std::string bytesText(std::uint64_t bytes) {
    return ZRBytesValueTransformer::formatBytes(bytes);
}

std::string durationText(std::uint64_t seconds) {
    const std::uint64_t hours = seconds / 3600;
    return hours > 0 ? fmt::format("{}:{:02}:{:02}", hours, seconds / 60 % 60, seconds % 60)
                     : fmt::format("{}:{:02}", seconds / 60, seconds % 60);
}

std::string timeText(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    tm local = {};
    ::localtime_r(&time, &local);
    std::array<char, 64> text = {};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local)};
}

std::string timestamp(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    tm universal = {};
    ::gmtime_r(&time, &universal);
    std::array<char, 64> text = {};
    return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &universal)};
}

} // namespace orvane::terminal
