#include "Backends/Posix/PosixDescriptors.h"
#include "Tests/ChildOfTest.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane {
namespace {

/// A process's descriptors, some of which may not go.
struct Table {
    static inline std::vector<int> open;
    static inline std::vector<int> stuck;
    static inline std::vector<int> closed;
    static inline int lists = 0;

    static std::optional<std::vector<int>> list() {
        ++lists;
        return open;
    }

    static int close(int descriptor) {
        closed.push_back(descriptor);
        if (std::find(stuck.begin(), stuck.end(), descriptor) != stuck.end()) {
            return -1;
        }
        std::erase(open, descriptor);
        return 0;
    }
};

class ListedDescriptorsTest : public ::testing::Test {
  protected:
    ListedDescriptorsTest() {
        Table::open = {0, 1, 2, 3, 7, 900};
        Table::stuck = {};
        Table::closed = {};
        Table::lists = 0;
    }
};

TEST_F(ListedDescriptorsTest, AreClosedFromTheFirstOn) {
    EXPECT_TRUE(closeListedDescriptors(3, Table::list, Table::close));
    EXPECT_EQ(Table::closed, (std::vector<int>{3, 7, 900}));
    EXPECT_EQ(Table::open, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(Table::lists, 2) << "the second one says that it is done";
}

TEST_F(ListedDescriptorsTest, AreNotClosedWhereThereIsNoList) {
    EXPECT_FALSE(closeListedDescriptors(
        3, []() -> std::optional<std::vector<int>> { return std::nullopt; }, Table::close));
    EXPECT_EQ(Table::closed, (std::vector<int>{}));
}

TEST_F(ListedDescriptorsTest, EndWhereNoneCanBeClosed) {
    Table::stuck = {3, 7, 900};
    EXPECT_FALSE(closeListedDescriptors(3, Table::list, Table::close));
    EXPECT_EQ(Table::lists, 2);
}

TEST_F(ListedDescriptorsTest, EndWhereOneStaysOpen) {
    Table::stuck = {7};
    EXPECT_FALSE(closeListedDescriptors(3, Table::list, Table::close));
    EXPECT_EQ(Table::open, (std::vector<int>{0, 1, 2, 7}));
    EXPECT_EQ(Table::lists, 3);
}

std::vector<int> probed() {
    std::vector<int> open;
    for (int number = 0; number < 1024; ++number) {
        if (::fcntl(number, F_GETFD) == 0) {
            open.push_back(number);
        }
    }
    return open;
}

TEST(InheritableDescriptorsTest, AreTheOpenOnesThatAnExecPassesOn) {
    const int passedOn = ::fcntl(STDIN_FILENO, F_DUPFD, 700);
    const int own = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 700);
    ASSERT_EQ(passedOn, 700);
    ASSERT_EQ(own, 701);
    auto listed = inheritableDescriptors();
    ASSERT_TRUE(listed);
    std::sort(listed->begin(), listed->end());
    EXPECT_EQ(*listed, probed());
    EXPECT_TRUE(std::binary_search(listed->begin(), listed->end(), passedOn));
    ::close(passedOn);
    ::close(own);
}

TEST(InheritableDescriptorsTest, AreUnknownWithoutTheFolder) {
    EXPECT_FALSE(inheritableDescriptorsListedIn("/nowhere"));
    EXPECT_EQ(errno, ENOENT);
}

TEST(InheritableDescriptorsTest, AreClosedAboveALoweredLimit) {
    EXPECT_EQ(exitStatusOfChild([] {
                  for (const int number : {3, 40, 63, 900}) {
                      ::dup2(STDIN_FILENO, number);
                  }
                  const rlimit low = {64, 64};
                  if (::setrlimit(RLIMIT_NOFILE, &low) != 0 ||
                      !closeListedDescriptors(STDERR_FILENO + 1, inheritableDescriptors, ::close)) {
                      return 100;
                  }
                  return static_cast<int>(probed().size());
              }),
              3);
}

TEST(CloseOnExecTest, AnOpenedFileIsNotPassedOn) {
    const int file = openCloseOnExec("/dev/null", O_RDONLY);
    ASSERT_GE(file, 0);
    EXPECT_EQ(::fcntl(file, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(::fcntl(file, F_GETFL) & O_ACCMODE, O_RDONLY);
    ::close(file);
}

TEST(CloseOnExecTest, AFileIsMadeWithTheModeThatWasAsked) {
    const std::string path = std::string(::getenv("TMPDIR")) + "/made"; // NOLINT(concurrency-mt-unsafe)
    const mode_t mask = ::umask(0);
    const int file = openCloseOnExec(path.c_str(), O_WRONLY | O_CREAT | O_EXCL, 0640);
    ::umask(mask);
    ASSERT_GE(file, 0);
    struct stat status = {};
    ASSERT_EQ(::fstat(file, &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
    EXPECT_EQ(::fcntl(file, F_GETFD), FD_CLOEXEC);
    ::close(file);
    ::unlink(path.c_str());
}

TEST(CloseOnExecTest, WhatCannotBeOpenedIsAnErrorAndNoDescriptor) {
    EXPECT_EQ(openCloseOnExec("/nowhere/at/all", O_RDONLY), -1);
    EXPECT_EQ(errno, ENOENT);
}

} // namespace
} // namespace orvane
