// A child that tells what it is like inside, or makes a session of its own:
//   child_probe ids | pipes | blocked | session PROGRAM [WORD...]

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// The open pipes, each by what tells it from others, that on standard output first.
void tellPipes() {
    for (int number = STDOUT_FILENO; number < 1024; ++number) {
        struct stat status = {};
        if (::fstat(number, &status) == 0 && S_ISFIFO(status.st_mode)) {
            std::printf("%lld:%lld\n", static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino));
        }
    }
}

void tellBlockedSignals() {
    sigset_t blocked;
    ::sigprocmask(SIG_SETMASK, nullptr, &blocked);
    std::printf("blocked:");
    for (int signal = 1; signal < NSIG; ++signal) {
        if (sigismember(&blocked, signal) == 1) {
            std::printf(" %d", signal);
        }
    }
    std::printf("\n");
}

} // namespace

int main(int count, char** words) {
    const char* const word = count > 1 ? words[1] : "";
    if (std::strcmp(word, "ids") == 0) {
        std::printf("process %d, parent %d, group %d, session %d\n", ::getpid(), ::getppid(), ::getpgrp(), ::getsid(0));
    } else if (std::strcmp(word, "pipes") == 0) {
        tellPipes();
    } else if (std::strcmp(word, "blocked") == 0) {
        tellBlockedSignals();
    } else if (std::strcmp(word, "session") == 0 && count > 2 && ::setsid() != -1) {
        ::execv(words[2], words + 2);
        return 127;
    } else {
        return 64;
    }
    return 0;
}
