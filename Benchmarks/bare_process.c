#include "bare_process.h"

#include <sys/wait.h>
#include <unistd.h>

long long bare_stream(const char* path, char* const* arguments) {
    int ends[2];
    if (pipe(ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        close(ends[0]);
        dup2(ends[1], 1);
        execv(path, arguments);
        _exit(1);
    }
    close(ends[1]);
    char buffer[2048];
    long long total = 0;
    ssize_t count;
    while ((count = read(ends[0], buffer, sizeof buffer)) > 0) {
        total += count;
    }
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? total : -1;
}

int bare_start(const char* path, char* const* arguments) {
    int ends[2];
    if (pipe(ends) != 0) {
        return -1;
    }
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        execv(path, arguments);
        _exit(1);
    }
    close(ends[0]);
    close(ends[1]);
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
