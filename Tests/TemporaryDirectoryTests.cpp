#include "Backends/Linux/LinuxProcessInfo.h"
#include "Helpers/NSFileManager+TemporaryDirectory.h"
#include "Support/OVPath.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <set>

namespace orvane {
namespace {

using TemporaryDirectory::createTemporaryDirectory;

TEST(CreateTemporaryDirectory, TwoCallsYieldTwoFolders) {
    const auto first = createTemporaryDirectory();
    const auto second = createTemporaryDirectory();
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    for (const std::string& path : {*first, *second}) {
        struct stat status = {};
        ASSERT_EQ(::lstat(path.c_str(), &status), 0);
        EXPECT_TRUE(S_ISDIR(status.st_mode));
        EXPECT_EQ(::rmdir(path.c_str()), 0);
    }
}

TEST(CreateTemporaryDirectory, LiesUnderTheTemporaryDirectoryByItsUniqueName) {
    const test::Folder folder;
    test::HookedCalls calls;
    test::FakeProcessInfo info(folder.path + "/");
    EXPECT_EQ(createTemporaryDirectory(calls, info), folder.at("unique-1"));
    EXPECT_EQ(calls.order, std::vector<std::string>{"mkdir"});
}

TEST(CreateTemporaryDirectory, PermissionsFollowTheUmask) {
    const test::Folder folder;
    test::HookedCalls calls;
    test::FakeProcessInfo info(folder.path);
    const mode_t before = ::umask(027);
    const auto made = createTemporaryDirectory(calls, info);
    ::umask(0);
    const auto open = createTemporaryDirectory(calls, info);
    ::umask(before);
    ASSERT_TRUE(made && open);
    EXPECT_EQ(test::permissionsOf(*made), 0750U);
    EXPECT_EQ(test::permissionsOf(*open), 0777U) << "the umask alone takes rights away";
}

TEST(CreateTemporaryDirectory, NeverTakesWhatIsThereAlready) {
    const test::Folder folder;
    test::HookedCalls calls;
    test::FakeProcessInfo info(folder.path);
    folder.makeFolder("unique-1");
    ASSERT_EQ(::symlink("/tmp", folder.at("unique-2").c_str()), 0);
    const testing::RecordingLog log;
    EXPECT_EQ(createTemporaryDirectory(calls, info), std::nullopt);
    EXPECT_EQ(createTemporaryDirectory(calls, info), std::nullopt);
    EXPECT_EQ(createTemporaryDirectory(calls, info), folder.at("unique-3"));
    EXPECT_TRUE(log.messages.empty());
}

TEST(CreateTemporaryDirectory, IsNothingWhenTheFolderCannotBeMade) {
    test::HookedCalls calls;
    test::FakeProcessInfo info("/missing");
    const testing::RecordingLog log;
    EXPECT_EQ(createTemporaryDirectory(calls, info), std::nullopt); // no intermediate folders
    EXPECT_EQ(errno, ENOENT);
    test::FakeProcessInfo there("/tmp");
    calls.fail("mkdir", EDQUOT);
    EXPECT_EQ(createTemporaryDirectory(calls, there), std::nullopt);
    EXPECT_EQ(errno, EDQUOT);
    EXPECT_TRUE(log.messages.empty());
}

TEST(GloballyUniqueString, NeverComesTwiceAndIsOneWord) {
    std::set<std::string> texts;
    for (int count = 0; count < 1000; ++count) {
        const std::string text = ProcessInfo::platform().globallyUniqueString();
        EXPECT_EQ(text.find_first_not_of("0123456789ABCDEFabcdef-"), std::string::npos) << text;
        texts.insert(text);
    }
    EXPECT_EQ(texts.size(), 1000U);
}

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
