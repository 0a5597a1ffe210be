#include "Backends/Posix/PosixGestalt.h"

#include "Backends/Posix/PropertyListStrings.h"
#include "Support/OVFile.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <string>
#include <utility>

namespace orvane {

namespace {

/// No part of a version is larger.
constexpr std::int32_t kLargest = 9999;

/// All three numbers in one answer, a digit in four bits: what needs more shows as 9, as the system has it.
std::int32_t binaryCodedDecimal(const SystemVersionNumbers& version) {
    const std::int32_t major = std::min(version[0], 99);
    return major / 10 * 0x1000 + major % 10 * 0x100 + std::min(version[1], 9) * 0x10 + std::min(version[2], 9);
}

std::optional<SystemVersionNumbers> parsed(std::string_view text) {
    SystemVersionNumbers version = {};
    std::size_t count = 0;
    while (count < version.size() && (count == 0 || text.starts_with('.'))) {
        text.remove_prefix(count == 0 ? 0 : 1);
        std::int32_t& number = version[count++];
        const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
        if (error != std::errc() || number < 0 || number > kLargest) {
            return std::nullopt;
        }
        text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    }
    return count >= 2 && text.empty() ? std::optional(version) : std::nullopt;
}

} // namespace

std::optional<SystemVersionNumbers> systemVersionFromPropertyList(std::string_view text) {
    const auto strings = stringsInPropertyList(text);
    if (!strings) {
        return std::nullopt;
    }
    const auto found = strings->find("ProductVersion");
    return found != strings->end() ? parsed(found->second) : std::nullopt;
}

std::int16_t PosixGestalt::ask(std::uint32_t selector, std::int32_t* response) {
    const std::optional<SystemVersionNumbers>& version = version_.value([this] {
        const OVTextFile file = OVTextFile::read(path_);
        return std::make_unique<std::optional<SystemVersionNumbers>>(
            file.text ? systemVersionFromPropertyList(*file.text) : std::nullopt);
    });
    const SystemVersionNumbers numbers = version.value_or(SystemVersionNumbers());
    const std::pair<std::uint32_t, std::int32_t> answers[] = {{gestaltSystemVersion, binaryCodedDecimal(numbers)},
                                                              {gestaltSystemVersionMajor, numbers[0]},
                                                              {gestaltSystemVersionMinor, numbers[1]},
                                                              {gestaltSystemVersionBugFix, numbers[2]}};
    for (const auto& [question, answer] : answers) {
        if (question != selector) {
            continue;
        }
        if (!version) {
            return gestaltUnknownErr;
        }
        *response = answer;
        return 0;
    }
    return gestaltUndefSelectorErr;
}

Gestalt& Gestalt::platform() {
    static constinit PosixGestalt gestalt("/System/Library/CoreServices/SystemVersion.plist");
    return gestalt;
}

} // namespace orvane
