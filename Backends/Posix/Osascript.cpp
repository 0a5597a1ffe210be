#include "Backends/Posix/Osascript.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX leaves it to the program

namespace orvane {

namespace {

bool waitForSuccess(pid_t child) {
    int status = 0;
    pid_t ended = -1;
    do {
        ended = ::waitpid(child, &status, 0);
    } while (ended == -1 && errno == EINTR);
    return ended == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

} // namespace

bool runOsascript(const std::string& source) {
    posix_spawn_file_actions_t actions;
    if (::posix_spawn_file_actions_init(&actions) != 0) {
        return false;
    }
    // A script's result is no output of the program that runs it.
    bool prepared = true;
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        prepared = prepared && ::posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0) == 0;
    }
    std::string program = "osascript";
    std::string option = "-e";
    std::string text = source;
    const std::array<char*, 4> words = {program.data(), option.data(), text.data(), nullptr};
    pid_t child = -1;
    const bool started =
        prepared && ::posix_spawnp(&child, program.c_str(), &actions, nullptr, words.data(), environ) == 0;
    ::posix_spawn_file_actions_destroy(&actions);
    return started && waitForSuccess(child);
}

} // namespace orvane
