#include "Platform/ProcessTable.h"

#include "Tests/QuietChild.h"

#include <csignal>
#include <string_view>
#include <sys/wait.h>

namespace orvane {
namespace {

using test::QuietChild;

TEST(ProcessTableTest, HasAProcessWithItsParentItsGroupAndItsStart) {
    const QuietChild first;
    ::usleep(20000); // two ticks of Linux's clock
    const QuietChild second;
    EXPECT_EQ(first.record().parent, ::getpid());
    EXPECT_EQ(first.record().group, first.pid);
    EXPECT_EQ(std::string_view(first.record().name), "host_tests");
    EXPECT_FALSE(first.record().isZombie);
    EXPECT_NE(first.record().started, 0U);
    EXPECT_EQ(first.record().started, first.record().started);
    EXPECT_LT(first.record().started, second.record().started);
}

TEST(ProcessTableTest, TellsAZombie) {
    const QuietChild child;
    ::kill(child.pid, SIGKILL);
    siginfo_t ended = {};
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child.pid), &ended, WEXITED | WNOWAIT), 0);
    EXPECT_TRUE(child.record().isZombie);
}

TEST(ProcessTableTest, HasEverybodysProcesses) {
    const auto all = ProcessTable::platform().processes();
    ASSERT_TRUE(all);
    EXPECT_NE(
        std::find_if(all->begin(), all->end(), [](const ProcessRecord& process) { return process.processID == 1; }),
        all->end());
}

} // namespace
} // namespace orvane
