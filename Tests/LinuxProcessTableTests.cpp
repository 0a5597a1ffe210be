#include "Backends/Linux/ProcessStatus.h"
#include "Platform/ProcessTable.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <csignal>
#include <sys/prctl.h>
#include <sys/wait.h>

namespace orvane {
namespace {

/// A child in a group of its own that does nothing.
class QuietChild {
  public:
    explicit QuietChild(const char* name = "quiet") {
        std::array<int, 2> ready = {};
        EXPECT_EQ(::pipe(ready.data()), 0);
        pid = ::fork();
        if (pid == 0) {
            ::setpgid(0, 0);
            ::prctl(PR_SET_NAME, name);
            ::close(ready[0]);
            ::close(ready[1]);
            for (;;) {
                ::pause();
            }
        }
        ::close(ready[1]);
        char byte = 0;
        EXPECT_EQ(::read(ready[0], &byte, 1), 0);
        ::close(ready[0]);
    }
    QuietChild(const QuietChild&) = delete;
    QuietChild& operator=(const QuietChild&) = delete;
    ~QuietChild() {
        ::kill(pid, SIGKILL);
        ::waitpid(pid, nullptr, 0);
    }

    /// As the table has it.
    [[nodiscard]] ProcessRecord record() const {
        const auto all = ProcessTable::platform().processes();
        EXPECT_TRUE(all);
        for (const ProcessRecord& process : all.value_or(std::vector<ProcessRecord>())) {
            if (process.processID == pid) {
                return process;
            }
        }
        ADD_FAILURE() << "the table does not have it";
        return {};
    }

    pid_t pid = -1;
};

TEST(LinuxProcessTableTest, HasAProcessWithItsParentItsGroupAndItsStart) {
    const QuietChild first;
    ::usleep(20000); // two ticks of the kernel's clock
    const QuietChild second;
    EXPECT_EQ(first.record().parent, ::getpid());
    EXPECT_EQ(first.record().group, first.pid);
    EXPECT_STREQ(first.record().name, "quiet");
    EXPECT_FALSE(first.record().isZombie);
    EXPECT_NE(first.record().started, 0U);
    EXPECT_EQ(first.record().started, first.record().started);
    EXPECT_LT(first.record().started, second.record().started);
}

TEST(LinuxProcessTableTest, ANameMayHoldAnything) {
    for (const char* name : {") Z 1 2 3", "a (b) c", "(((", ")))", "", "new\nline", "\xFF\xFE"}) {
        const QuietChild child(name);
        const ProcessRecord record = child.record();
        EXPECT_STREQ(record.name, name);
        EXPECT_EQ(record.parent, ::getpid()) << name;
        EXPECT_EQ(record.group, child.pid) << name;
        EXPECT_FALSE(record.isZombie) << name;
    }
}

TEST(LinuxProcessTableTest, TellsAZombie) {
    const QuietChild child;
    ::kill(child.pid, SIGKILL);
    siginfo_t ended = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(child.record().isZombie);
    EXPECT_EQ(child.record().group, child.pid);
}

TEST(LinuxProcessTableTest, ARecordThatIsNoneIsNoProcess) {
    const test::Folder folder;
    EXPECT_FALSE(readProcessStatus(folder.at("missing").c_str()));
    for (const char* text : {"", "1", "1 (name", "1 (name)", "1 (name) S", "1 (name) S 2 3 4 5", "x (name) S 2 3"}) {
        EXPECT_FALSE(readProcessStatus(folder.makeFile("stat", text).c_str())) << text;
    }
    const auto record = readProcessStatus(
        folder.makeFile("stat", "12 (name) S 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20 21 22 23").c_str());
    ASSERT_TRUE(record);
    EXPECT_EQ(record->processID, 12);
    EXPECT_EQ(record->parent, 2);
    EXPECT_EQ(record->group, 3);
    EXPECT_EQ(record->started, 20U) << "the twenty-second field";
}

} // namespace
} // namespace orvane
