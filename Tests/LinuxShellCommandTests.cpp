#include "Tests/ShellCommandTestSupport.h"

#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace orvane {
namespace {

TEST_P(ShellCommandTest, SystemThatRefusesASessionIsReportedAndTheChildGoesOn) {
    const pid_t host = ::fork();
    ASSERT_GE(host, 0);
    if (host == 0) {
        std::array<sock_filter, 4> filter = {{{BPF_LD | BPF_W | BPF_ABS, 0, 0, offsetof(seccomp_data, nr)},
                                              {BPF_JMP | BPF_JEQ | BPF_K, 0, 1, __NR_setsid},
                                              {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | EPERM},
                                              {BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW}}};
        const sock_fprog program = {filter.size(), filter.data()};
        const std::array<int, 2> diagnostics = ownPipe();
        if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
            ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
            ::_exit(2);
        }
        ::dup2(diagnostics[1], STDERR_FILENO);
        OVShellCommand each(untracedCalls);
        const bool ran =
            each.runCommandAtPath(kShell, {"-c", "echo on; exit 5"}, &owner) == 5 && owner.text() == "on\n";
        std::array<char, 100> report = {};
        const ssize_t size = ::read(diagnostics[0], report.data(), report.size() - 1);
        ::_exit(ran && size > 0 && std::string(report.data()) == "setsid: Operation not permitted\n" ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(::waitpid(host, &status, 0), host);
    EXPECT_EQ(status, 0);
}

} // namespace
} // namespace orvane
