#include "Support/OVPath.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace orvane {
namespace {

TEST(LastPathComponentTest, IsWhatStandsBehindTheLastSlash) {
    EXPECT_EQ(lastPathComponent("/usr/local/libexec/OrvaneTool"), "OrvaneTool");
    EXPECT_EQ(lastPathComponent("OrvaneTool"), "OrvaneTool");
    EXPECT_EQ(lastPathComponent("/a b/c d"), "c d");
}

TEST(LastPathComponentTest, DoesNotCountTrailingSlashes) {
    EXPECT_EQ(lastPathComponent("/a/b/"), "b");
    EXPECT_EQ(lastPathComponent("/a/b///"), "b");
}

TEST(LastPathComponentTest, KeepsTheRootAndTheEmptyPath) {
    EXPECT_EQ(lastPathComponent("/"), "/");
    EXPECT_EQ(lastPathComponent("///"), "/");
    EXPECT_EQ(lastPathComponent(""), "");
}

TEST(StringByAppendingPathComponentTest, PutsOneSlashBetween) {
    EXPECT_EQ(stringByAppendingPathComponent("/tmp", "name"), "/tmp/name");
    EXPECT_EQ(stringByAppendingPathComponent("/tmp/", "name"), "/tmp/name");
    EXPECT_EQ(stringByAppendingPathComponent("/tmp", "/name"), "/tmp/name");
    EXPECT_EQ(stringByAppendingPathComponent("/tmp//", "//name"), "/tmp/name");
    EXPECT_EQ(stringByAppendingPathComponent("/", "name"), "/name");
    EXPECT_EQ(stringByAppendingPathComponent("/", "//Users/*/Library"), "/Users/*/Library");
    EXPECT_EQ(stringByAppendingPathComponent("relative", "name"), "relative/name");
}

TEST(StringByAppendingPathComponentTest, CompactsSlashesAndDropsATrailingOne) {
    EXPECT_EQ(stringByAppendingPathComponent("/a//b", "c///d/"), "/a/b/c/d");
    EXPECT_EQ(stringByAppendingPathComponent("//", "/"), "/");
}

TEST(StringByAppendingPathComponentTest, EmptyPartsAddNothing) {
    EXPECT_EQ(stringByAppendingPathComponent("", "name"), "name");
    EXPECT_EQ(stringByAppendingPathComponent("/tmp", ""), "/tmp");
    EXPECT_EQ(stringByAppendingPathComponent("/tmp/", ""), "/tmp");
    EXPECT_EQ(stringByAppendingPathComponent("", ""), "");
}

TEST(StringByExpandingTildeInPathTest, ExpandsTheRealUsersHome) {
    const std::string home = ::getpwuid(::getuid())->pw_dir;
    ::setenv("HOME", "/somewhere/else", 1); // must not be asked
    EXPECT_EQ(stringByExpandingTildeInPath("~"), home);
    EXPECT_EQ(stringByExpandingTildeInPath("~/Library"), stringByAppendingPathComponent(home, "Library"));
    ::setenv("HOME", home.c_str(), 1);
}

TEST(StringByExpandingTildeInPathTest, ExpandsTheRealUsersHomeWhateverTheEffectiveUser) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can have another effective user id";
    }
    const std::string home = ::getpwuid(::getuid())->pw_dir;
    ASSERT_EQ(::seteuid(1), 0);
    const std::string expanded = stringByExpandingTildeInPath("~");
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_EQ(expanded, home);
    EXPECT_NE(expanded, ::getpwuid(1)->pw_dir);
}

TEST(StringByExpandingTildeInPathTest, ExpandsANamedUsersHome) {
    const std::string name = ::getpwuid(1)->pw_name;
    const std::string home = ::getpwuid(1)->pw_dir;
    EXPECT_EQ(stringByExpandingTildeInPath("~" + name), home);
    EXPECT_EQ(stringByExpandingTildeInPath("~" + name + "/a b"), stringByAppendingPathComponent(home, "a b"));
}

TEST(StringByExpandingTildeInPathTest, LeavesOtherPathsAlone) {
    EXPECT_EQ(stringByExpandingTildeInPath(""), "");
    EXPECT_EQ(stringByExpandingTildeInPath("/a/~"), "/a/~");
    EXPECT_EQ(stringByExpandingTildeInPath("a/~/b"), "a/~/b");
    EXPECT_EQ(stringByExpandingTildeInPath("a~"), "a~");
    EXPECT_EQ(stringByExpandingTildeInPath("~no-such-user/x"), "~no-such-user/x");
}

TEST(HomeDirectoryOfUserTest, IsNothingForAnUnknownUser) {
    EXPECT_EQ(homeDirectoryOfUser(1), std::string(::getpwuid(1)->pw_dir));
    ASSERT_EQ(::getpwuid(3999999999U), nullptr);
    EXPECT_EQ(homeDirectoryOfUser(3999999999U), std::nullopt);
}

} // namespace
} // namespace orvane
