#pragma once

#include <sys/wait.h>
#include <unistd.h>

namespace orvane {

/// Runs the body in a child of the test's and returns the exit status that it chose, -1 when a signal ended the child:
/// for what changes a process for good.
template <typename Body> int exitStatusOfChild(Body body) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::_exit(body());
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

} // namespace orvane
