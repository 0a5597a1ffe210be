#include "Backends/Posix/PosixGestalt.h"

#include "Backends/Posix/PropertyListStrings.h"
#include "Support/OVTextFile.h"

#include <algorithm>
#include <charconv>
#include <memory>
#include <string>

namespace orvane {

namespace {

/// No part of a version is larger.
constexpr std::int32_t kLargest = 9999;

/// All three numbers in one answer, a digit in four bits: what needs more shows as 9, as the system has it.
std::int32_t binaryCodedDecimal(const SystemVersionNumbers& version) {
    const std::int32_t major = std::min(version.major, 99);
    return major / 10 * 0x1000 + major % 10 * 0x100 + std::min(version.minor, 9) * 0x10 + std::min(version.bugFix, 9);
}

std::optional<SystemVersionNumbers> parsed(std::string_view text) {
    SystemVersionNumbers version;
    std::int32_t* const numbers[] = {&version.major, &version.minor, &version.bugFix};
    const char* place = text.data();
    const char* const end = place + text.size();
    for (std::int32_t* const number : numbers) {
        if (number != &version.major) {
            if (place == end && number == &version.bugFix) {
                break;
            }
            if (place == end || *place != '.') {
                return std::nullopt;
            }
            ++place;
        }
        const auto [stopped, error] = std::from_chars(place, end, *number);
        if (error != std::errc() || *number < 0 || *number > kLargest) {
            return std::nullopt;
        }
        place = stopped;
    }
    return place == end ? std::optional(version) : std::nullopt;
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
    std::int32_t answer = 0;
    switch (selector) {
    case gestaltSystemVersion:
        answer = binaryCodedDecimal(numbers);
        break;
    case gestaltSystemVersionMajor:
        answer = numbers.major;
        break;
    case gestaltSystemVersionMinor:
        answer = numbers.minor;
        break;
    case gestaltSystemVersionBugFix:
        answer = numbers.bugFix;
        break;
    default:
        return gestaltUndefSelectorErr;
    }
    if (!version) {
        return gestaltUnknownErr;
    }
    *response = answer;
    return 0;
}

Gestalt& Gestalt::platform() {
    static constinit PosixGestalt gestalt("/System/Library/CoreServices/SystemVersion.plist");
    return gestalt;
}

} // namespace orvane
