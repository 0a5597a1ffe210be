#include "Helpers/NSFileManager+UniqueDestination.h"

#include "Tests/TaskRunnerTestSupport.h"

namespace orvane {
namespace {

using UniqueDestination::findUniqueDestinationForFile;

struct UniqueDestinationTest : ::testing::Test {
    [[nodiscard]] std::string find(std::string_view name) {
        const std::string path = findUniqueDestinationForFile(name, folder.path, calls);
        EXPECT_TRUE(path.starts_with(folder.path + "/")) << path;
        return path.substr(folder.path.size() + 1);
    }

    /// What the name becomes when it is taken.
    [[nodiscard]] std::string second(const std::string& name) {
        folder.makeFile(name);
        return find(name);
    }

    test::Folder folder;
    test::HookedCalls calls;
};

TEST_F(UniqueDestinationTest, KeepsANameThatIsFree) {
    EXPECT_EQ(find("Desktop from 2026-11-20"), "Desktop from 2026-11-20");
    EXPECT_EQ(find("Report.txt"), "Report.txt");
    EXPECT_EQ(findUniqueDestinationForFile("a", folder.path + "//"), folder.at("a"));
    EXPECT_TRUE(test::namesIn(folder.path).empty());
}

TEST_F(UniqueDestinationTest, CountsFromTwoToTheFirstFreeNumber) {
    folder.makeFolder("Desktop from 2026-11-20");
    EXPECT_EQ(find("Desktop from 2026-11-20"), "Desktop from 2026-11-20 2");
    folder.makeFile("Desktop from 2026-11-20 2");
    folder.makeFile("Desktop from 2026-11-20 4");
    EXPECT_EQ(find("Desktop from 2026-11-20"), "Desktop from 2026-11-20 3");
    folder.makeFile("Desktop from 2026-11-20 3");
    EXPECT_EQ(find("Desktop from 2026-11-20"), "Desktop from 2026-11-20 5");
    for (int number = 5; number <= 10; ++number) {
        folder.makeFile("Desktop from 2026-11-20 " + std::to_string(number));
    }
    EXPECT_EQ(find("Desktop from 2026-11-20"), "Desktop from 2026-11-20 11");
}

TEST_F(UniqueDestinationTest, NumberGoesBehindTheWholeName) {
    EXPECT_EQ(second("Desktop from 20.11.2026"), "Desktop from 20.11.2026 2");
    EXPECT_EQ(second("Report.txt"), "Report.txt 2");
}

TEST_F(UniqueDestinationTest, NumberStaysInTheFolderWhateverTheName) {
    folder.makeFile("name");
    EXPECT_EQ(find("name/"), "name 2");
}

TEST_F(UniqueDestinationTest, SymbolicLinkToNothingIsThere) {
    ASSERT_EQ(::symlink("nowhere", folder.at("Link.txt").c_str()), 0);
    EXPECT_EQ(find("Link.txt"), "Link.txt 2");
}

TEST_F(UniqueDestinationTest, MissingFolderHoldsNothing) {
    folder.makeFile("file");
    EXPECT_EQ(findUniqueDestinationForFile("a", folder.at("missing"), calls), folder.at("missing/a"));
    EXPECT_EQ(findUniqueDestinationForFile("a", folder.at("file"), calls), folder.at("file/a"));
}

TEST_F(UniqueDestinationTest, PlaceThatCannotBeExaminedEndsTheSearch) {
    folder.makeFile("a");
    for (const int error : {EACCES, EIO, ELOOP, ENAMETOOLONG}) {
        calls.fail("lstat", error);
        EXPECT_EQ(find("a"), "a") << error;
        calls.fail("lstat", error, 1000, 1);
        EXPECT_EQ(find("a"), "a 2") << error;
    }
    calls.fail("", 0);
    const std::string longest(255, 'x'); // its number does not fit
    EXPECT_EQ(second(longest), longest + " 2");
}

} // namespace
} // namespace orvane
