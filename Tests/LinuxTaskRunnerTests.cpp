#include "Tests/ChildOfTest.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <sched.h>
#include <sys/mount.h>

namespace orvane {
namespace {

using RunOnItems = test::Recorded;

TEST_F(RunOnItems, FullFileSystemRunsNothing) {
    constexpr int kCannotMount = 254;
    const int outcome = exitStatusOfChild([&] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
            ::mount("small", folder.path.c_str(), "tmpfs", 0, "size=64k") != 0) {
            return kCannotMount;
        }
        const int failed = failsToWrite(": No space left on device");
        return failed != 0 || test::namesIn(folder.at("unique-1")).empty() ? failed : 4;
    });
    if (outcome == kCannotMount) {
        GTEST_SKIP() << "this needs the right to mount";
    }
    EXPECT_EQ(outcome, 0);
}

// Apple's xargs makes one blank of two.
TEST(RunOnItemsWithGNUsPrograms, BlanksInARowReachTheCommand) {
    const test::Folder temporary;
    test::FakeProcessInfo processInfo{temporary.path};
    test::RecordingDelegate owner;
    OVTaskRunner runner{OVTaskRunnerServices{.processInfo = processInfo}};
    runner.setDelegate(test::unowned<OVTaskDelegate>(owner));
    EXPECT_EQ(runner.runBashCommand("printf '<%s>'", {"/a b  c"}), 0);
    EXPECT_EQ(owner.output, "</a b  c>");
}

} // namespace
} // namespace orvane
