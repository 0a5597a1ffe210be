#include "Helpers/NSFileManager+Globbing.h"
#include "Tasks/OVTaskRunner.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <pwd.h>

namespace orvane {
namespace {

using Globbing::arrayWithFilesMatchingPattern;
using Paths = std::vector<std::string>;

TEST(Globbing, ListsMatchesInGlobsOrder) {
    const test::Folder folder;
    for (const char* const name : {"c.log", "a.log", "b.log", "b.txt", ".hidden.log"}) {
        folder.makeFile(name);
    }
    EXPECT_EQ(arrayWithFilesMatchingPattern("*.log", folder.path),
              (Paths{folder.at("a.log"), folder.at("b.log"), folder.at("c.log")}));
    EXPECT_EQ(arrayWithFilesMatchingPattern("?.[lt]*", folder.path),
              (Paths{folder.at("a.log"), folder.at("b.log"), folder.at("b.txt"), folder.at("c.log")}));
}

TEST(Globbing, PatternThatMatchesNothingYieldsNothing) {
    const test::Folder folder;
    EXPECT_EQ(arrayWithFilesMatchingPattern("*", folder.path), Paths{});
    EXPECT_EQ(arrayWithFilesMatchingPattern("no*", folder.path), Paths{});
    EXPECT_EQ(arrayWithFilesMatchingPattern("*", folder.at("missing")), Paths{});
}

TEST(Globbing, PatternWithoutWildcardsYieldsTheFileItself) {
    const test::Folder folder;
    folder.makeFile("a b");
    EXPECT_EQ(arrayWithFilesMatchingPattern("a b", folder.path), (Paths{folder.at("a b")}));
    EXPECT_EQ(arrayWithFilesMatchingPattern("missing", folder.path), Paths{});
    EXPECT_EQ(arrayWithFilesMatchingPattern("", folder.path), (Paths{folder.path}));
}

TEST(Globbing, TildeIsExpandedInTheFolderAlone) {
    const std::string home = ::getpwuid(::getuid())->pw_dir;
    EXPECT_EQ(arrayWithFilesMatchingPattern("", "~"), (Paths{home}));

    const test::Folder folder;
    folder.makeFolder("~");
    folder.makeFile("~/x");
    EXPECT_EQ(arrayWithFilesMatchingPattern("~/*", folder.path), (Paths{folder.at("~/x")}));
    ::rename(folder.at("~").c_str(), folder.at("other").c_str());
    EXPECT_EQ(arrayWithFilesMatchingPattern("~/*", folder.path), Paths{});
    EXPECT_EQ(arrayWithFilesMatchingPattern("~", "/"), Paths{});
}

TEST(Globbing, BracesAreOrdinaryCharacters) {
    const test::Folder folder;
    folder.makeFile("a");
    folder.makeFile("b");
    EXPECT_EQ(arrayWithFilesMatchingPattern("{a,b}", folder.path), Paths{});
    folder.makeFile("{a,b}");
    EXPECT_EQ(arrayWithFilesMatchingPattern("{a,b}", folder.path), (Paths{folder.at("{a,b}")}));
}

TEST(Globbing, BackslashEscapes) {
    const test::Folder folder;
    folder.makeFile("a*");
    folder.makeFile("ab");
    EXPECT_EQ(arrayWithFilesMatchingPattern("a\\*", folder.path), (Paths{folder.at("a*")}));
}

TEST(Globbing, NamesComeAsTheFileSystemSpellsThem) {
    const test::Folder folder;
    folder.makeFile("caf\xC3\xA9");
    folder.makeFile("\xFF\xFE");
    folder.makeFile("line\nbreak");
    EXPECT_EQ(arrayWithFilesMatchingPattern("*", folder.path).size(), 3U);
    EXPECT_EQ(arrayWithFilesMatchingPattern("caf*", folder.path), (Paths{folder.at("caf\xC3\xA9")}));
    EXPECT_EQ(arrayWithFilesMatchingPattern("line*", folder.path), (Paths{folder.at("line\nbreak")}));
    EXPECT_EQ(arrayWithFilesMatchingPattern("\xFF*", folder.path), (Paths{folder.at("\xFF\xFE")}));
}

TEST(Globbing, StarStaysWithinOneComponent) {
    const test::Folder folder;
    folder.makeFolder("one/two");
    folder.makeFile("one/two/file");
    folder.makeFile("one/file");
    EXPECT_EQ(arrayWithFilesMatchingPattern("*/file", folder.path), (Paths{folder.at("one/file")}));
    EXPECT_EQ(arrayWithFilesMatchingPattern("*/*/", folder.path), (Paths{folder.at("one/file"), folder.at("one/two")}));
}

TEST(Globbing, AFolderThatCannotBeReadHidesNoOtherMatches) {
    const test::Folder folder;
    ASSERT_EQ(::chmod(folder.path.c_str(), 0755), 0);
    ASSERT_EQ(::chmod(folder.makeFolder("closed").c_str(), 0), 0);
    folder.makeFolder("open");
    folder.makeFile("open/file");
    const bool isRoot = ::geteuid() == 0; // to whom nothing is closed
    ASSERT_TRUE(!isRoot || ::seteuid(1000) == 0);
    const Paths found = arrayWithFilesMatchingPattern("*/*", folder.path);
    ASSERT_TRUE(!isRoot || ::seteuid(0) == 0);
    EXPECT_EQ(found, (Paths{folder.at("open/file")}));
}

TEST(PathsByExpandingGlobs, ReadsPatternsAsAbsolutePathsInTheirOrder) {
    const test::Folder folder;
    folder.makeFile("a");
    folder.makeFile("b");
    OVTaskRunner runner;
    EXPECT_EQ(runner.pathsByExpandingGlobs({folder.at("b"), folder.at("*"), folder.at("none*")}),
              (Paths{folder.at("b"), folder.at("a"), folder.at("b")}));
    EXPECT_EQ(runner.pathsByExpandingGlobs({folder.at("*").substr(1)}), (Paths{folder.at("a"), folder.at("b")}));
}

TEST(PathsByExpandingGlobs, EmptyListYieldsAnEmptyList) {
    OVTaskRunner runner;
    EXPECT_EQ(runner.pathsByExpandingGlobs({}), Paths{});
}

} // namespace
} // namespace orvane
