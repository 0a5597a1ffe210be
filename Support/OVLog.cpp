#include "Support/OVLog.h"

#include "Platform/Executable.h"
#include "Platform/Process.h"
#include "Platform/SystemLog.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string>
#include <string_view>
#include <sys/time.h>
#include <unistd.h>

namespace orvane {

namespace {

/// Whether the character begins another line or acts on a terminal: control characters, both separators of lines, and
/// what turns the direction of writing round.
bool isRefused(char32_t c) {
    return c < 0x20 || (c >= 0x7F && c < 0xA0) || c == 0x2028 || c == 0x2029 || (c >= 0x202A && c <= 0x202E) ||
           (c >= 0x2066 && c <= 0x2069);
}

/// The text with what does not belong on one line, bytes that are not UTF-8 included, as octal numbers ("\\012"). Names
/// of files and folders are their makers' choice, and one of them must not pass for a message.
std::string fitForOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    while (!text.empty()) {
        const CodePoint next = decodeUTF8(text);
        const std::string_view character = text.substr(0, std::max<std::size_t>(next.length, 1));
        if (next.length > 0 && !isRefused(next.value)) {
            line += character;
        } else {
            for (const char byte : character) {
                std::array<char, 8> number = {};
                static_cast<void>(
                    std::snprintf(number.data(), number.size(), "\\%03o", static_cast<unsigned char>(byte)));
                line += number.data();
            }
        }
        text.remove_prefix(character.size());
    }
    return line;
}

/// Null stands for the built-in sink, so that nothing has to run before the first message.
constinit std::atomic<OVLogSink*> currentSink{nullptr};

std::string processName() {
    return fitForOneLine(lastPathComponent(Executable::current().executablePath().value_or("OrvaneTool")));
}

std::string timestamp() {
    timeval now = {};
    ::gettimeofday(&now, nullptr);
    tm local = {};
    ::localtime_r(&now.tv_sec, &local);
    std::array<char, 40> text = {};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    static_cast<void>(
        std::snprintf(text.data() + length, text.size() - length, ".%03d", static_cast<int>(now.tv_usec / 1000)));
    return text.data();
}

/// One write for a whole line, so that the lines of two processes on one terminal or file don't mix; only a
/// descriptor that takes less makes it more.
void writeWhole(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t written = ::write(descriptor, text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            return;
        }
    }
}

void logToSystem(const std::string& message) {
    const std::string name = processName();
    writeWhole(STDERR_FILENO, timestamp() + ' ' + name + '[' + std::to_string(::getpid()) + ':' +
                                  std::to_string(Process::current().threadID()) + "] " + message + '\n');
    SystemLog::platform().write(name.c_str(), message.c_str());
}

__attribute__((format(printf, 1, 0))) std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    std::string text = format; // what cannot be formatted is shown as it is
    if (const int length = std::vsnprintf(nullptr, 0, format, arguments); length >= 0) {
        text.resize(static_cast<std::size_t>(length));
        static_cast<void>(std::vsnprintf(text.data(), text.size() + 1, format, again));
    }
    va_end(again);
    return text;
}

} // namespace

OVLogSink* OVSetLogSink(OVLogSink* sink) {
    return currentSink.exchange(sink);
}

void OVLog(const char* format, ...) {
    const int savedError = errno;
    va_list arguments;
    va_start(arguments, format);
    const std::string message = fitForOneLine(formatted(format, arguments));
    va_end(arguments);
    if (OVLogSink* const sink = currentSink.load()) {
        sink->logMessage(message.c_str());
    } else {
        logToSystem(message);
    }
    errno = savedError;
}

void OVAssertionFailed(const char* expression, const char* method, const char* file, int line) {
    OVLog("Assertion failed: (%s), function %s, file %s, line %d.", expression, method, file, line);
    std::abort();
}

} // namespace orvane
