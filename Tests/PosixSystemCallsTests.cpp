#include "Platform/SystemCalls.h"

#include <cerrno>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {
namespace {

/// A child that leads a process group of its own and waits for the end.
class Child {
  public:
    Child() {
        std::signal(SIGINT, SIG_DFL); // a shell ignores it for what it starts in the background
        pid_ = ::fork();
        if (pid_ == 0) {
            for (;;) {
                ::pause();
            }
        }
        ::setpgid(pid_, pid_);
    }

    ~Child() {
        if (pid_ > 0) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, nullptr, 0);
        }
    }

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    [[nodiscard]] pid_t pid() const { return pid_; }

    int signalThatEndedIt() {
        int status = 0;
        ::waitpid(pid_, &status, 0);
        pid_ = -1;
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

  private:
    pid_t pid_ = -1;
};

TEST(KillpgTest, SignalsTheGroupItIsGiven) {
    Child child;
    EXPECT_EQ(SystemCalls::platform().getpgid(child.pid()), child.pid());
    EXPECT_EQ(SystemCalls::platform().killpg(child.pid(), SIGINT), 0);
    EXPECT_EQ(child.signalThatEndedIt(), SIGINT);
}

// Signal 0 stands in for a real one: should the refusal ever be lost, these tests must not take the machine
// along.
TEST(KillpgTest, GroupOneIsRefusedAndNobodyIsSignalled) {
    errno = 0;
    EXPECT_EQ(SystemCalls::platform().killpg(1, 0), -1);
    EXPECT_EQ(errno, EPERM);
}

TEST(KillpgTest, ANegativeGroupIsRefusedAndNobodyIsSignalled) {
    for (const pid_t group : {-1, -2, -4711}) {
        errno = 0;
        EXPECT_EQ(SystemCalls::platform().killpg(group, 0), -1);
        EXPECT_EQ(errno, EINVAL);
    }
}

TEST(KillpgTest, AGroupThatIsNotThereFails) {
    pid_t gone = 0;
    {
        Child child;
        gone = child.pid();
    }
    EXPECT_EQ(SystemCalls::platform().getpgid(gone), -1);
    EXPECT_EQ(errno, ESRCH);
    EXPECT_EQ(SystemCalls::platform().killpg(gone, SIGINT), -1);
    EXPECT_EQ(errno, ESRCH);
}

TEST(SystemTest, AnswersWithTheRawWaitStatus) {
    EXPECT_EQ(SystemCalls::platform().system("exit 3"), 3 << 8);
    EXPECT_EQ(SystemCalls::platform().system("kill -TERM $$"), SIGTERM);
}

} // namespace
} // namespace orvane
