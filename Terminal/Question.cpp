#include "Terminal/Question.h"

#include "Support/OVText.h"
#include "Terminal/Interrupts.h"
#include "Terminal/Translation.h"

#include <cerrno>
#include <optional>
#include <termios.h>
#include <unistd.h>

namespace orvane::terminal {

namespace {

/// Nothing when a signal came first.
std::optional<std::string> lineAfter(const std::string& question) {
    ::tcflush(STDIN_FILENO, TCIFLUSH);
    Console::write(STDERR_FILENO, question + " ");
    std::string line;
    char c = 0;
    while (Interrupts::signal() == 0) {
        const ssize_t count = ::read(STDIN_FILENO, &c, 1);
        if (count == 1 && c != '\n') {
            line += c;
        } else if (count >= 0 || errno != EINTR) {
            if (count == 0) {
                Console::write(STDERR_FILENO, "\n");
            }
            return line.substr(0, line.find_last_not_of(" \t") + 1);
        }
    }
    Console::write(STDERR_FILENO, "\n");
    return std::nullopt;
}

} // namespace

Answer askYesOrNo(const std::string& question) {
    const std::optional<std::string> line = lineAfter(question + " " + translated("[y/N]"));
    if (!line) {
        return Answer::interrupted;
    }
    const std::string word = lowercaseString(*line);
    const bool isYes = word == "y" || word == "yes" || word == translated("y") || word == translated("yes");
    return isYes ? Answer::yes : Answer::no;
}

Answer askForText(const std::string& question, const std::string& text) {
    const std::optional<std::string> line = lineAfter(question);
    if (!line) {
        return Answer::interrupted;
    }
    return *line == text ? Answer::yes : Answer::no;
}

} // namespace orvane::terminal
