#include "Support/OVTextFile.h"

#include "Support/OVFile.h"
#include "Support/OVText.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <string_view>

namespace orvane {

namespace {

/// Adds the file's bytes. Returns 0 or the `errno` of the call that failed.
std::int32_t readAll(const std::string& path, std::string& bytes, SystemCalls& calls) {
    int file = -1;
    do {
        file = calls.open(path.c_str(), O_RDONLY | O_CLOEXEC, 0);
    } while (file < 0 && errno == EINTR);
    if (file < 0) {
        return errno;
    }
    std::array<char, 4096> buffer = {};
    std::int32_t error = 0;
    for (ssize_t count = 1; count != 0 && error == 0;) {
        count = calls.read(file, buffer.data(), buffer.size());
        if (count > 0) {
            bytes.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count < 0 && errno != EINTR) {
            error = errno;
        }
    }
    calls.close(file);
    return error;
}

} // namespace

OVTextFile OVTextFile::read(const std::optional<std::string>& path, SystemCalls& calls) {
    std::string bytes;
    if (const std::int32_t error = path ? readAll(*path, bytes, calls) : ENOENT; error != 0) {
        return {.text = std::nullopt, .error = errorDescription(error)};
    }
    auto text = textFromData(bytes);
    return {.text = text, .error = text ? "" : "The text is in none of the encodings UTF-8, UTF-16 and UTF-32"};
}

} // namespace orvane
