#include "Backends/Posix/PosixProcessInfo.h"

#include "Backends/Posix/PosixDescriptors.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <iterator>
#include <sys/time.h>
#include <unistd.h>

namespace orvane {

namespace {

using RandomBytes = std::array<std::uint8_t, 16>;

RandomBytes randomBytes() {
    RandomBytes bytes = {};
    const int device = openCloseOnExec("/dev/urandom", O_RDONLY);
    // So few come in one piece, whatever signals there are.
    if (device < 0 || ::read(device, bytes.data(), bytes.size()) != std::ssize(bytes)) {
        timeval now = {};
        ::gettimeofday(&now, nullptr);
        std::memcpy(bytes.data(), &now, std::min(sizeof now, bytes.size()));
    }
    ::close(device);
    return bytes;
}

} // namespace

std::string PosixProcessInfo::globallyUniqueString() {
    static constinit std::atomic<unsigned> counter{0};
    const RandomBytes b = randomBytes();
    std::array<char, 96> text = {};
    static_cast<void>(std::snprintf(text.data(), text.size(),
                                    "%02X%02X%02X%02X-%02X%02X-%02X%02X-%02X%02X-%02X%02X%02X%02X%02X%02X-%ld-%08X",
                                    b[0], b[1], b[2], b[3], b[4], b[5], b[6], b[7], b[8], b[9], b[10], b[11], b[12],
                                    b[13], b[14], b[15], static_cast<long>(::getpid()), counter.fetch_add(1)));
    return text.data();
}

} // namespace orvane
