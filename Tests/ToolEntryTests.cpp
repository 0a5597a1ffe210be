#include "Helper Tool/ToolEntry.h"

#include "Platform/Executable.h"
#include "Platform/Process.h"
#include "Tests/ChildOfTest.h"

#include <array>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orvane {
namespace {

TEST(ToolEntryDeathTest, AProcessStartedWithoutAnyWordReportsItsUserIDs) {
    const std::string ids =
        "effective user id: " + std::to_string(::geteuid()) + ", actual user id: " + std::to_string(::getuid());
    const std::array<const char*, 1> nothing = {nullptr};
    EXPECT_EXIT(toolMain(0, nothing.data(), ::getuid()), ::testing::ExitedWithCode(0), ids);
    const std::array<const char*, 2> nameOnly = {"OrvaneTool", nullptr};
    EXPECT_EXIT(toolMain(1, nameOnly.data(), ::getuid()), ::testing::ExitedWithCode(0), ids);
}

TEST(ToolEntryDeathTest, ANullFirstWordCountsAsNone) {
    const std::array<const char*, 3> words = {"OrvaneTool", nullptr, "csc"};
    EXPECT_EXIT(toolMain(3, words.data(), ::getuid()), ::testing::ExitedWithCode(0), "effective user id: ");
    const std::array<const char*, 2> nulls = {nullptr, nullptr};
    EXPECT_EXIT(toolMain(2, nulls.data(), ::getuid()), ::testing::ExitedWithCode(0), "effective user id: ");
}

TEST(ToolEntryDeathTest, AFirstWordThatIsNoTextEndsTheProcessWithAMessage) {
    const std::array<const char*, 3> words = {"OrvaneTool",
                                              "flush\xFF"
                                              "DNS",
                                              nullptr};
    EXPECT_EXIT(toolMain(2, words.data(), ::getuid()), ::testing::ExitedWithCode(1),
                "Command-line tool: word 1 of the command line is not valid UTF-8, nothing was run");
}

/// Ends the process with the tool's status for these words.
template <typename... Words> [[noreturn]] void runMain(uid_t realUserID, Words... words) {
    const std::array<const char*, sizeof...(words) + 2> vector = {"OrvaneTool", words..., nullptr};
    ::_exit(toolMain(static_cast<int>(vector.size()) - 1, vector.data(), realUserID));
}

TEST(ToolEntryDeathTest, AModeWordIsTheWholeWord) {
    const bool isRoot = ::geteuid() == 0;
    for (const char* word : {"repairPriviligesNow", "repairPrivilige", "RepairPriviliges", " repairPriviliges",
                             "surrenderPriviligesNow", "surrenderPrivilige", "surrenderpriviliges"}) {
        // A task that there is not, for root; what nobody else gets as far as.
        EXPECT_EXIT(runMain(::getuid(), word), ::testing::ExitedWithCode(isRoot ? 255 : 1),
                    isRoot ? "^$" : "setuid failed")
            << word;
    }
}

TEST(ToolEntryDeathTest, ThatItCannotBecomeRootIsToldWithTheRealUserFirst) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can have two other user ids";
    }
    const int able = exitStatusOfChild([] { return ::setreuid(501, 502) == 0 && ::geteuid() == 502 ? 0 : 1; });
    if (able != 0) {
        GTEST_SKIP() << "a process cannot have two user ids here, though it is root's";
    }
    const auto asOthers = [] {
        if (::setreuid(501, 502) == 0) {
            runMain(501, "csc");
        }
        ::_exit(99);
    };
    EXPECT_EXIT(asOthers(), ::testing::ExitedWithCode(1),
                "Command-line tool: setuid failed \\(user id: 501, effective user id: 502\\)\n");
}

TEST(ToolEntryDeathTest, TheFirstArgumentAloneMustBeFitForAShell) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "nobody else gets as far";
    }
    // There is no such folder: what does run fills nothing.
    const char* const folder = "/nowhere/at all";
    const std::string message = "secureEraseFreeSpace: the argument holds a character that a root shell would act on";
    EXPECT_EXIT(runMain(501, "secureEraseFreeSpace", "/nowhere/$(at)all", folder), ::testing::ExitedWithCode(1),
                message);
    EXPECT_EXIT(runMain(501, "secureEraseFreeSpace", folder, "$(further words are ignored)"),
                ::testing::ExitedWithCode(0), "/nowhere/at all/secure-erase.temp");
}

TEST(ExecutableTest, KnowsTheRunningExecutableFromTheKernel) {
    const auto path = Executable::current().executablePath();
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(path->front(), '/');
    EXPECT_EQ(::access(path->c_str(), X_OK), 0) << *path;
    const int file = Executable::current().openExecutable();
    ASSERT_GE(file, 0);
    struct stat byPath = {};
    struct stat opened = {};
    ASSERT_EQ(::stat(path->c_str(), &byPath), 0);
    ASSERT_EQ(::fstat(file, &opened), 0);
    EXPECT_EQ(byPath.st_ino, opened.st_ino);
    EXPECT_EQ(byPath.st_dev, opened.st_dev);
    EXPECT_EQ(::fcntl(file, F_GETFD) & FD_CLOEXEC, FD_CLOEXEC);
    ::close(file);
}

TEST(ProcessTest, TheStartIsWhenTheKernelMadeTheProcessNeverLater) {
    constexpr double kSecond = 1e9;
    const auto seconds = [](const timespec& time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / kSecond;
    };
    timespec before = {};
    ::clock_gettime(CLOCK_REALTIME, &before);
    std::array<int, 2> ends = {};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        ::usleep(150000); // what holds it up before it asks does not count
        const auto start = Process::current().startTime();
        ::_exit(start && ::write(ends[1], &*start, sizeof *start) == sizeof *start ? 0 : 1);
    }
    timespec after = {};
    ::clock_gettime(CLOCK_REALTIME, &after);
    timespec start = {};
    ASSERT_EQ(::read(ends[0], &start, sizeof start), static_cast<ssize_t>(sizeof start));
    int status = 0;
    ::waitpid(child, &status, 0);
    ::close(ends[0]);
    ::close(ends[1]);
    EXPECT_LE(seconds(start), seconds(after));
    EXPECT_GT(seconds(start), seconds(before) - 0.02) << "rounded down to a clock tick";
}

} // namespace
} // namespace orvane
