#include "Tasks/OVTaskNames.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <unordered_set>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace orvane {

namespace {

/// A file with the text, at its beginning and without a name; -1 with `errno`.
int fileWith(std::string_view text, const std::string& folder) {
    std::string path = folder + "/orvane-XXXXXX";
    const int file = ::mkstemp(path.data());
    if (file < 0) {
        return file;
    }
    ::fcntl(file, F_SETFD, FD_CLOEXEC);
    ::unlink(path.c_str());
    while (!text.empty()) {
        const ssize_t count = ::write(file, text.data(), text.size());
        if (count < 0 && errno != EINTR) {
            const std::int32_t error = errno;
            ::close(file);
            errno = error;
            return -1;
        }
        text.remove_prefix(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    ::lseek(file, 0, SEEK_SET);
    return file;
}

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 65536> buffer; // NOLINT(cppcoreguidelines-pro-type-member-init)
    while (true) {
        const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
        if (count > 0) {
            text.append(buffer.data(), static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            return text;
        }
    }
}

/// Whether `xargs -I` may make something else of the line. All of them leave short names alone that hold single blanks
/// between other characters.
bool isOdd(std::string_view name) {
    constexpr std::size_t kShort = 200; // some replace nothing beyond 255 bytes
    const auto isSpecial = [](char c) {
        return static_cast<unsigned char>(c) < ' ' || c == '\'' || c == '"' || c == '\\' || c == '\x7F';
    };
    return name.empty() || name.size() > kShort || name.front() == ' ' || name.back() == ' ' ||
           name.find("  ") != std::string_view::npos || std::any_of(name.begin(), name.end(), isSpecial);
}

/// How many of the lines of a name hold something.
std::size_t linesIn(std::string_view name) {
    std::size_t count = 0;
    for (const std::string& line : OVPieces(name, '\n')) {
        count += line.find_first_not_of(" \t") != std::string::npos ? 1U : 0U;
    }
    return count;
}

} // namespace

OVCaptured OVCapture(const std::string& line, std::string_view input, const std::string& temporaryFolder) {
    OVCaptured captured;
    std::array<int, 2> ends = {-1, -1};
    const int file = fileWith(input, temporaryFolder);
    if (file < 0 || ::pipe(ends.data()) != 0) {
        captured.error = errno;
        if (file >= 0) {
            ::close(file);
        }
        return captured;
    }
    ::fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    ::fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    std::string shell = "sh";
    std::string option = "-c";
    std::string text = line;
    const std::array<char*, 4> words = {shell.data(), option.data(), text.data(), nullptr};
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, file, STDIN_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    captured.error = ::posix_spawn(&child, "/bin/sh", &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(file);
    ::close(ends[1]);
    if (captured.error == 0) {
        captured.output = readAll(ends[0]);
        while (::waitpid(child, &captured.status, 0) < 0 && errno == EINTR) {
        }
    }
    ::close(ends[0]);
    return captured;
}

std::vector<std::string> OVPieces(std::string_view text, char end) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        const std::size_t place = std::min(text.find(end), text.size());
        pieces.emplace_back(text.substr(0, place));
        text.remove_prefix(std::min(place + 1, text.size()));
    }
    return pieces;
}

OVArrivals OVArrivals::ofNames(const std::vector<std::string>& names, std::string_view prefix,
                               const std::string& temporaryFolder) {
    OVArrivals result;
    result.kinds.assign(names.size(), Kind::whole);

    std::vector<std::size_t> asked;
    std::vector<std::size_t> witness(names.size()); // the name that tells of this one, counted from 1; 0: needs none
    std::size_t plain = 2;
    for (std::size_t index = 0; index < names.size(); ++index) {
        const bool odd = isOdd(names[index]);
        plain = odd ? 0 : plain + 1;
        if (odd || (plain <= 2 && !asked.empty())) {
            asked.push_back(index);
            witness[index] = index + 1;
        } else if (!asked.empty()) {
            witness[index] = asked.back() + 1;
        }
    }
    if (asked.empty()) {
        return result;
    }
    std::string list;
    for (const std::size_t index : asked) {
        list.append(list.empty() ? "" : "\n").append(names[index]);
    }
    const OVCaptured captured = OVCapture(
        std::string(prefix) + R"(xargs -I __FILE__ /usr/bin/printf '%s\0' '__FILE__')", list, temporaryFolder);
    if (captured.error != 0) {
        result.error = captured.error;
        return result;
    }
    const std::vector<std::string> words = OVPieces(captured.output, '\0');
    const std::unordered_set<std::string_view> arrived(words.begin(), words.end());
    const bool isCut = !WIFEXITED(captured.status) || WEXITSTATUS(captured.status) != 0;

    // Words between two names that arrive whole belong to the names between these.
    std::size_t next = 0;
    for (auto group = asked.begin(); group != asked.end();) {
        if (arrived.contains(names[*group])) {
            const auto place = std::find(words.begin() + static_cast<std::ptrdiff_t>(next), words.end(), names[*group]);
            next = place != words.end() ? static_cast<std::size_t>(place - words.begin()) + 1 : next;
            ++group;
            continue;
        }
        const auto end =
            std::find_if(group, asked.end(), [&](std::size_t index) { return arrived.contains(names[index]); });
        const auto stop = end != asked.end()
                              ? std::find(words.begin() + static_cast<std::ptrdiff_t>(next), words.end(), names[*end])
                              : words.end();
        const auto last = static_cast<std::size_t>(stop - words.begin());
        bool isLost = false;
        for (; group != end; ++group) {
            const bool isLast = group + 1 == end && !isCut;
            const std::size_t count = isLast ? last - next : std::min(linesIn(names[*group]), last - next);
            std::string& pieces = result.becomes[*group];
            for (std::size_t word = 0; word < count; ++word) {
                pieces.append(word == 0 ? "" : "\n").append(words[next++]);
            }
            result.kinds[*group] = isLost ? Kind::lost : Kind::takenApart;
            isLost = isLost || (isCut && end == asked.end() && count == 0);
        }
    }
    for (std::size_t index = 0; index < names.size(); ++index) {
        if (witness[index] != 0 && witness[index] != index + 1 && result.kinds[witness[index] - 1] != Kind::whole) {
            result.kinds[index] = Kind::lost;
        }
    }
    std::unordered_set<std::string_view> strange(words.begin(), words.end());
    for (const std::string& name : names) {
        strange.erase(name);
    }
    std::copy_if(words.begin(), words.end(), std::back_inserter(result.strangers),
                 [&](const std::string& word) { return strange.contains(word); });
    return result;
}

} // namespace orvane
