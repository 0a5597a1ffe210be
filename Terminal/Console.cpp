#include "Terminal/Console.h"

#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sys/ioctl.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

constexpr std::size_t kMuch = 32768;

std::string_view variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): only read
    return value != nullptr ? value : "";
}

const char* codeOf(Console::Style style) {
    switch (style) {
    case Console::Style::bold:
        return "\x1b[1m";
    case Console::Style::dim:
        return "\x1b[2m";
    case Console::Style::red:
        return "\x1b[31m";
    case Console::Style::green:
        return "\x1b[32m";
    case Console::Style::yellow:
        return "\x1b[33m";
    }
    return "";
}

} // namespace

bool Console::canAsk() {
    return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1;
}

bool Console::canRedraw() {
    return ::isatty(STDERR_FILENO) == 1 && variable("TERM") != "dumb" && !variable("TERM").empty();
}

std::size_t Console::columns(int descriptor) {
    const std::string_view asked = variable("COLUMNS");
    std::size_t columns = 0;
    const auto [end, error] = std::from_chars(asked.data(), asked.data() + asked.size(), columns);
    if (error == std::errc() && end == asked.data() + asked.size() && columns > 0) {
        return columns;
    }
    winsize size = {};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
        return size.ws_col;
    }
    return ::isatty(descriptor) == 1 ? 80 : std::numeric_limits<std::size_t>::max() / 2;
}

std::string Console::styled(Style style, std::string_view text, int descriptor) const {
    const bool wanted = colour_ == Colour::always || (colour_ == Colour::automatic && variable("NO_COLOR").empty() &&
                                                      variable("TERM") != "dumb" && ::isatty(descriptor) == 1);
    return wanted ? std::string(codeOf(style)).append(text).append("\x1b[0m") : std::string(text);
}

bool Console::print(std::string_view line) {
    pending_.append(line).append("\n");
    return pending_.size() < kMuch || flush();
}

bool Console::flush() {
    const bool written = write(STDOUT_FILENO, pending_);
    pending_.clear();
    return written;
}

void Console::complain(std::string_view text) {
    flush();
    write(STDERR_FILENO, std::string("orvane: ").append(text).append("\n"));
}

bool Console::write(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count >= 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

} // namespace orvane::terminal
