#include "Helper Tool/ToolEntry.h"

#include "Platform/Executable.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
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

TEST(ExecutableTest, KnowsTheRunningExecutableFromTheKernel) {
    const auto path = Executable::current().executablePath();
    ASSERT_TRUE(path.has_value());
    EXPECT_EQ(path->front(), '/');
    EXPECT_EQ(::access(path->c_str(), X_OK), 0) << *path;
    const auto reference = Executable::current().executableReference();
    ASSERT_TRUE(reference.has_value());
    struct stat byPath = {};
    struct stat byReference = {};
    ASSERT_EQ(::stat(path->c_str(), &byPath), 0);
    ASSERT_EQ(::stat(reference->c_str(), &byReference), 0);
    EXPECT_EQ(byPath.st_ino, byReference.st_ino);
    EXPECT_EQ(byPath.st_dev, byReference.st_dev);
}

} // namespace
} // namespace orvane
