#include "Support/OVPath.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace orvane
