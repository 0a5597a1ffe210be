#include "bare_process.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

static pid_t start_with_output(const char* path, char* const* arguments, int* output) {
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
    *output = ends[0];
    return child;
}

static long long end_of(pid_t child, int output, long long total) {
    close(output);
    int status = 0;
    waitpid(child, &status, 0);
    return status == 0 ? total : -1;
}

long long bare_stream(const char* path, char* const* arguments) {
    int output = -1;
    const pid_t child = start_with_output(path, arguments, &output);
    char buffer[2048];
    long long total = 0;
    ssize_t count;
    while ((count = read(output, buffer, sizeof buffer)) > 0) {
        total += count;
    }
    return end_of(child, output, total);
}

static long long handed_over;

static int never(void) {
    return 0;
}

static void count_bytes(const char* bytes, ssize_t count) {
    (void)bytes;
    handed_over += count;
}

/* Real calls, whatever the compiler sees. */
static int (*volatile should_cancel)(void) = never;
static void (*volatile hand_over)(const char*, ssize_t) = count_bytes;

long long polled_stream(const char* path, char* const* arguments) {
    int output = -1;
    const pid_t child = start_with_output(path, arguments, &output);
    fcntl(output, F_SETFL, fcntl(output, F_GETFL) | O_NONBLOCK);
    struct pollfd record = {output, POLLIN, 0};
    char buffer[2048];
    handed_over = 0;
    while (!should_cancel()) {
        poll(&record, 1, 500);
        const ssize_t count = read(output, buffer, sizeof buffer);
        if (count > 0) {
            hand_over(buffer, count);
        } else if (count == 0 || errno != EAGAIN) {
            break;
        }
    }
    return end_of(child, output, handed_over);
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
