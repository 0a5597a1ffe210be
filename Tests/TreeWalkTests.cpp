#include "Support/OVTreeWalk.h"

#include "Tests/TaskRunnerTestSupport.h"

#include <cerrno>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace orvane {
namespace {

using Tree = OVTreeWalk::Tree;
using Strings = std::vector<std::string>;

std::uint64_t blocksOf(const std::string& path) {
    struct stat status = {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return static_cast<std::uint64_t>(status.st_blocks) * 512;
}

Tree walked(const std::string& path) {
    std::vector<Tree> trees = {{.path = path}};
    EXPECT_TRUE(OVTreeWalk({}).walk(trees));
    return trees.front();
}

TEST(TreeWalkTest, CountsTheFolderAndAllThatIsInIt) {
    const test::Folder folder;
    const std::string outer = folder.makeFolder("outer");
    const std::string inner = folder.makeFolder("outer/.inner");
    const std::string file = folder.makeFile("outer/.inner/file", std::string(30000, 'x'));
    ASSERT_EQ(::symlink("/", folder.at("outer/link").c_str()), 0);
    const Tree tree = walked(outer);
    EXPECT_EQ(tree.entries, 4U);
    EXPECT_EQ(tree.bytes, blocksOf(outer) + blocksOf(inner) + blocksOf(file) + blocksOf(folder.at("outer/link")));
    EXPECT_TRUE(S_ISDIR(tree.mode));
    EXPECT_GT(tree.modified, 0);
    EXPECT_EQ(tree.error, 0);
}

TEST(TreeWalkTest, ATreeMayBeAFileALinkOrNothing) {
    const test::Folder folder;
    const std::string file = folder.makeFile("file", "x");
    ASSERT_EQ(::symlink("/", folder.at("link").c_str()), 0);
    EXPECT_EQ(walked(file).entries, 1U);
    EXPECT_EQ(walked(folder.at("link")).entries, 1U);
    const Tree none = walked(folder.at("none"));
    EXPECT_EQ(none.error, ENOENT);
    EXPECT_EQ(none.entries, 0U);
}

TEST(TreeWalkTest, ASparseFileCountsByItsBlocks) {
    const test::Folder folder;
    const std::string file = folder.makeFile("file", "x");
    ASSERT_EQ(::truncate(file.c_str(), 1 << 30), 0);
    EXPECT_LT(walked(file).bytes, 1U << 20U);
    EXPECT_EQ(walked(file).bytes, blocksOf(file));
}

TEST(TreeWalkTest, AFileWithLinksElsewhereFreesNothingAndOneWithAllItsLinksInsideCountsOnce) {
    const test::Folder folder;
    std::vector<Tree> trees = {{.path = folder.makeFolder("a")}, {.path = folder.makeFolder("b")}};
    const std::string shared = folder.makeFile("a/shared", std::string(50000, 'x'));
    ASSERT_EQ(::link(shared.c_str(), folder.at("a/again").c_str()), 0);
    ASSERT_EQ(::link(shared.c_str(), folder.at("b/third").c_str()), 0);
    const std::string outside = folder.makeFile("outside", std::string(50000, 'x'));
    ASSERT_EQ(::link(outside.c_str(), folder.at("a/outside").c_str()), 0);
    EXPECT_TRUE(OVTreeWalk({}).walk(trees));
    EXPECT_EQ(trees[0].entries, 4U);
    EXPECT_EQ(trees[0].bytes, blocksOf(folder.at("a")) + blocksOf(shared));
    EXPECT_EQ(trees[1].bytes, blocksOf(folder.at("b")));
    EXPECT_EQ(walked(folder.at("b")).bytes, blocksOf(folder.at("b"))) << "two of its links stay";
}

/// Wide enough for all threads, the figures still those of one.
TEST(TreeWalkTest, ThreadsFindTheSame) {
    const test::Folder folder;
    for (int outer = 0; outer < 20; ++outer) {
        const std::string name = std::to_string(outer);
        folder.makeFolder(name + "/inner");
        for (int file = 0; file < 150; ++file) {
            folder.makeFile(name + (file % 2 == 0 ? "/inner/" : "/") + std::to_string(file), "x");
        }
        ASSERT_EQ(::link(folder.at(name + "/1").c_str(), folder.at(name + "/inner/link").c_str()), 0);
    }
    for (const unsigned threads : {1U, 2U, 8U}) {
        std::vector<Tree> trees = {{.path = folder.path}};
        ASSERT_TRUE(OVTreeWalk({.threads = threads}).walk(trees));
        EXPECT_EQ(trees[0].entries, 1U + 20 * 2 + 20 * 151);
        EXPECT_EQ(trees[0].bytes, walked(folder.path).bytes);
    }
}

TEST(TreeWalkTest, ADeepTreeTakesFewDescriptorsAndPathsLongerThanTheSystems) {
    const test::Folder folder;
    const std::string deep = folder.makeFolder("deep");
    const int start = ::open(".", O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(::chdir(deep.c_str()), 0);
    constexpr std::uint64_t kDepth = 600;
    const std::string name(20, 'n');
    for (std::uint64_t depth = 0; depth < kDepth; ++depth) {
        // A sibling on each level keeps its parent waiting.
        ASSERT_EQ(::mkdir("sibling", 0755), 0);
        ASSERT_EQ(::mkdir(name.c_str(), 0755), 0);
        ASSERT_EQ(::chdir(name.c_str()), 0);
    }
    ASSERT_EQ(::fchdir(start), 0);
    ::close(start);
    rlimit old = {};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
    const rlimit few = {128, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    std::vector<Tree> trees = {{.path = deep}};
    OVTreeWalk walk({});
    EXPECT_TRUE(walk.walk(trees));
    EXPECT_EQ(trees[0].entries, 1 + 2 * kDepth);
    EXPECT_EQ(walk.unreadable, Strings());
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
    EXPECT_EQ(std::system(("rm -rf " + deep).c_str()), 0);
}

TEST(TreeWalkTest, AVisitorSeesEveryEntryAndLeavesOutWhatItWants) {
    const test::Folder folder;
    folder.makeFolder("a/b/c");
    folder.makeFile("a/b/file");
    Strings seen;
    OVTreeWalk walk({.visit = [&](const OVTreeWalk::Entry& entry) {
        seen.push_back(std::to_string(entry.depth) + " " + std::string(entry.name) + " " + entry.path());
        return entry.name != "b";
    }});
    std::vector<Tree> trees = {{.path = folder.at("a")}};
    EXPECT_TRUE(walk.walk(trees));
    EXPECT_EQ(seen, (Strings{"0 a " + folder.at("a"), "1 b " + folder.at("a/b")}));
    EXPECT_EQ(trees[0].entries, 2U);
}

TEST(TreeWalkTest, ProgressMayEndIt) {
    const test::Folder folder;
    for (int file = 0; file < 300; ++file) {
        folder.makeFolder(std::to_string(file) + "/inner");
    }
    int told = 0;
    std::vector<Tree> trees = {{.path = folder.path}};
    OVTreeWalk walk({.threads = 1,
                     .progress =
                         [&](std::uint64_t) {
                             ++told;
                             return false;
                         },
                     .visit =
                         [&](const OVTreeWalk::Entry& entry) {
                             if (entry.depth == 0) {
                                 ::usleep(150000);
                             }
                             return true;
                         }});
    EXPECT_FALSE(walk.walk(trees));
    EXPECT_GE(told, 1);
    EXPECT_LT(trees[0].entries, 601U);
}

/// In a child, as a user: what is in the folder is root's or another's.
Strings stuckFor(const std::string& path, OVTreeWalk::Remover remover, bool overwrites = false) {
    int ends[2] = {};
    EXPECT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        if (::setgid(12345) != 0 || ::setuid(12345) != 0) {
            ::_exit(1);
        }
        std::vector<Tree> trees = {{.path = path}};
        OVTreeWalk walk({.remover = remover, .overwrites = overwrites});
        walk.walk(trees);
        std::string text;
        for (const OVTreeWalk::Stuck& stuck : walk.stuck) {
            text += stuck.path.substr(path.size()) + " " + std::to_string(stuck.error) + "\n";
        }
        for (const std::string& folder : walk.unreadable) {
            text += folder.substr(path.size()) + " unreadable\n";
        }
        ::_exit(::write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size()) ? 0 : 1);
    }
    ::close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t count = 0; (count = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<std::size_t>(count));
    }
    ::close(ends[0]);
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    Strings lines;
    for (std::size_t end = 0; (end = text.find('\n')) != std::string::npos; text.erase(0, end + 1)) {
        lines.push_back(text.substr(0, end));
    }
    return lines;
}

TEST(TreeWalkTest, TellsWhatAUserCannotRemove) {
    if (::geteuid() != 0) {
        GTEST_SKIP() << "only root can play another user";
    }
    const test::Folder folder;
    ASSERT_EQ(::chmod(folder.path.c_str(), 0777), 0);
    const std::string top = folder.makeFolder("top");
    const std::string own = folder.makeFolder("top/own");
    const std::string sticky = folder.makeFolder("top/sticky");
    const std::string hidden = folder.makeFolder("top/own/hidden");
    const std::string ofRoot = folder.makeFile("top/own/of root");
    const std::string inSticky = folder.makeFile("top/sticky/own");
    folder.makeFile("top/sticky/of root");
    folder.makeFolder("top/own/sealed");
    folder.makeFile("top/own/sealed/file");
    for (const std::string& path : {top, own, hidden, inSticky}) {
        ASSERT_EQ(::chown(path.c_str(), 12345, 12345), 0);
    }
    ASSERT_EQ(::chmod(sticky.c_str(), 01777), 0);
    ASSERT_EQ(::chmod(hidden.c_str(), 0300), 0);
    const std::string denied = " " + std::to_string(EACCES);
    EXPECT_EQ(stuckFor(top, OVTreeWalk::Remover::user),
              (Strings{"/own/hidden" + denied, "/own/sealed/file" + denied, "/sticky/of root " + std::to_string(EPERM),
                       "/own/hidden unreadable"}));
    EXPECT_EQ(stuckFor(top, OVTreeWalk::Remover::user, true),
              (Strings{"/own/hidden" + denied, "/own/of root" + denied, "/own/sealed/file" + denied,
                       "/sticky/of root " + std::to_string(EPERM), "/own/hidden unreadable"}))
        << "what is overwritten must be the user's to write";
    EXPECT_EQ(stuckFor(top, OVTreeWalk::Remover::root), (Strings{"/own/hidden unreadable"}));
    ASSERT_EQ(::chmod(folder.path.c_str(), 0755), 0);
    EXPECT_EQ(stuckFor(top, OVTreeWalk::Remover::user).front(), denied) << "the tree's own folder counts";
}

} // namespace
} // namespace orvane
