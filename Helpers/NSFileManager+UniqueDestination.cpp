#include "Helpers/NSFileManager+UniqueDestination.h"

#include "Support/OVPath.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace orvane::UniqueDestination {

namespace {

bool isThere(const std::string& path, SystemCalls& calls) {
    struct stat status = {};
    return calls.lstat(path.c_str(), &status) == 0;
}

/// One of ASCII, or part of any other character.
bool isLetter(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z');
}

/// Where the extension of the last component begins, dot included; the name's end when it has none.
std::size_t extensionOf(std::string_view name) {
    const std::size_t dot = name.rfind('.');
    if (dot == std::string_view::npos || dot == 0 || name[dot - 1] == '/') {
        return name.size();
    }
    const std::string_view extension = name.substr(dot + 1);
    const bool isOne = extension.find_first_of(" /") == std::string_view::npos &&
                       std::any_of(extension.begin(), extension.end(), isLetter);
    return isOne ? dot : name.size();
}

} // namespace

std::string findUniqueDestinationForFile(std::string_view name, std::string_view inDirectory, SystemCalls& calls) {
    while (name.ends_with('/')) {
        name.remove_suffix(1);
    }
    const std::size_t extension = extensionOf(name);
    std::string path = stringByAppendingPathComponent(inDirectory, name);
    for (std::uint64_t number = 2; isThere(path, calls); ++number) {
        std::string numbered(name);
        numbered.insert(extension, " " + std::to_string(number));
        path = stringByAppendingPathComponent(inDirectory, numbered);
    }
    return path;
}

} // namespace orvane::UniqueDestination
