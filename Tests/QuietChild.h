#pragma once

#include "Platform/ProcessTable.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace orvane::test {

/// A child in a group of its own that does nothing.
class QuietChild {
  public:
    explicit QuietChild(void (*begin)() = [] {}) {
        std::array<int, 2> ready = {};
        EXPECT_EQ(::pipe(ready.data()), 0);
        pid = ::fork();
        if (pid == 0) {
            ::setpgid(0, 0);
            begin();
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

} // namespace orvane::test
