#include "Backends/Linux/LinuxProcessInfo.h"
#include "Tests/TaskRunnerTestSupport.h"

namespace orvane {
namespace {

class TemporaryDirectoryVariable : public ::testing::Test {
  protected:
    void TearDown() override {
        if (before_) {
            ::setenv("TMPDIR", before_->c_str(), 1);
        } else {
            ::unsetenv("TMPDIR");
        }
    }

  private:
    std::optional<std::string> before_ =
        ::getenv("TMPDIR") != nullptr ? std::optional<std::string>(::getenv("TMPDIR")) : std::nullopt;
};

TEST_F(TemporaryDirectoryVariable, IsTheFolderWhenItDoes) {
    const test::Folder folder;
    ::setenv("TMPDIR", folder.path.c_str(), 1);
    EXPECT_EQ(ProcessInfo::platform().temporaryDirectory(), folder.path);
}

TEST_F(TemporaryDirectoryVariable, GivesWayToTmpOtherwise) {
    const test::Folder folder;
    for (const std::string& value : {std::string(), std::string("relative"), folder.at("missing"),
                                     folder.makeFile("file"), folder.makeFolder("two words")}) {
        ::setenv("TMPDIR", value.c_str(), 1);
        EXPECT_EQ(ProcessInfo::platform().temporaryDirectory(), "/tmp") << value;
    }
    ::unsetenv("TMPDIR");
    EXPECT_EQ(ProcessInfo::platform().temporaryDirectory(), "/tmp");
}

TEST_F(TemporaryDirectoryVariable, IsNotAskedByAPrivilegedProcess) {
    const test::Folder folder;
    ::setenv("TMPDIR", folder.path.c_str(), 1);
    EXPECT_EQ(ProcessInfo::privileged().temporaryDirectory(), "/tmp");
    EXPECT_NE(ProcessInfo::privileged().globallyUniqueString(), ProcessInfo::platform().globallyUniqueString());
}

constexpr uid_t kRoot = 0;
constexpr uid_t kSomebody = 1000;

TEST(UsableTemporaryDirectory, RefusesWhatAShellLineWouldTakeApart) {
    const test::Folder folder;
    for (const char* const name : {"a b", "a;b", "a$b", "a'b", "a\"b", "a*b", "a\\b", "a\nb", "~a"}) {
        const std::string path = folder.makeFolder(name);
        EXPECT_EQ(usableTemporaryDirectory(path.c_str(), kSomebody), std::nullopt) << path;
    }
    for (const char* const name : {"a.b", "a_b-c", "a+b,c:d@e%f=g", "caf\xC3\xA9"}) {
        const std::string path = folder.makeFolder(name);
        EXPECT_EQ(usableTemporaryDirectory(path.c_str(), kSomebody), path);
    }
    EXPECT_EQ(usableTemporaryDirectory(nullptr, kSomebody), std::nullopt);
}

TEST(UsableTemporaryDirectory, ForRootIsOneThatNobodyElseCanSwap) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can make folders of other users";
    }
    const test::Folder folder;
    const std::string own = folder.makeFolder("own");
    EXPECT_EQ(usableTemporaryDirectory(own.c_str(), kRoot), own);

    const std::string open = folder.makeFolder("open");
    ASSERT_EQ(::chmod(open.c_str(), 0777), 0);
    EXPECT_EQ(usableTemporaryDirectory(open.c_str(), kRoot), std::nullopt);
    EXPECT_EQ(usableTemporaryDirectory(open.c_str(), kSomebody), open);
    const std::string inOpen = folder.makeFolder("open/inner");
    EXPECT_EQ(usableTemporaryDirectory(inOpen.c_str(), kRoot), std::nullopt);
    ASSERT_EQ(::chmod(open.c_str(), 01777), 0);
    EXPECT_EQ(usableTemporaryDirectory(open.c_str(), kRoot), open);
    EXPECT_EQ(usableTemporaryDirectory(inOpen.c_str(), kRoot), inOpen);

    const std::string theirs = folder.makeFolder("theirs");
    const std::string inTheirs = folder.makeFolder("theirs/inner");
    ASSERT_EQ(::chown(theirs.c_str(), kSomebody, kSomebody), 0);
    EXPECT_EQ(usableTemporaryDirectory(theirs.c_str(), kRoot), std::nullopt);
    EXPECT_EQ(usableTemporaryDirectory(inTheirs.c_str(), kRoot), std::nullopt);

    // A link is somebody's to redirect: what counts is where it leads now, by its real path.
    ASSERT_EQ(::symlink(own.c_str(), folder.at("link").c_str()), 0);
    EXPECT_EQ(usableTemporaryDirectory(folder.at("link").c_str(), kRoot), own);
}

} // namespace
} // namespace orvane
