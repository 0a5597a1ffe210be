#include "Platform/Volumes.h"

#include "Tests/VolumesTestSupport.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>

namespace orvane {
namespace {

TEST(Volumes, ListsTheStartUpVolumeWithItsSizes) {
    const auto all = Volumes::platform().mountedFileSystems();
    ASSERT_TRUE(all);
    const MountedFileSystem* const root = test::find(*all, "/");
    ASSERT_NE(root, nullptr);
    struct statvfs status = {};
    ASSERT_EQ(::statvfs("/", &status), 0);
    EXPECT_EQ(root->blockSize, status.f_frsize);
    EXPECT_EQ(root->blocks, status.f_blocks);
    EXPECT_GT(root->blocks, 0U);
    EXPECT_GT(root->availableBlocks, 0U);
}

TEST(Volumes, MarksTheStartUpVolume) {
    const auto all = Volumes::platform().mountedFileSystems();
    ASSERT_TRUE(all);
    const MountedFileSystem* const root = test::find(*all, "/");
    ASSERT_NE(root, nullptr);
    EXPECT_EQ(root->flags & kMountRootFileSystem, kMountRootFileSystem);
    EXPECT_EQ(Volumes::platform().mountFlagsAtPath("/no/such/file"), std::nullopt);
}

} // namespace
} // namespace orvane
