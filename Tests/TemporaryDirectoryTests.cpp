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

} // namespace
} // namespace orvane
