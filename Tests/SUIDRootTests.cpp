#include "Helpers/NSFileManager+SUIDRoot.h"

#include "Tests/Fakes/FakeSystemCalls.h"
#include "Tests/Fakes/RecordingLog.h"

#include <csignal>
#include <gtest/gtest.h>

namespace orvane {
namespace {

using testing::FakeSystemCalls;
using testing::RecordingLog;
using Strings = std::vector<std::string>;

constexpr const char* kPath = "/Applications/Some App.app/OrvaneTool";

class SUIDRootTest : public ::testing::Test {
  protected:
    FakeSystemCalls calls;
    RecordingLog log;
};

TEST_F(SUIDRootTest, InstallBecomesRootThenChangesOwnerThenModeThenGoesBack) {
    EXPECT_EQ(SUIDRoot::setSUIDRoot(kPath, calls), 0);
    const std::string path = kPath;
    EXPECT_EQ(calls.calls,
              (Strings{"seteuid(0)", "chown(" + path + ",0,-1)", "chmod(" + path + ",0104555)", "seteuid(501)"}));
    EXPECT_EQ(calls.effectiveUser, 501U);
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(SUIDRootTest, InstallThatCannotBecomeRootTouchesNothing) {
    calls.effectiveUser = 501;
    calls.fail("seteuid", EPERM);
    EXPECT_EQ(SUIDRoot::setSUIDRoot(kPath, calls), EPERM);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)"}));
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error 1 switching to priviliged uid"}));
}

TEST_F(SUIDRootTest, InstallWithFailingChownStopsThereAndStaysEffectiveRoot) {
    calls.effectiveUser = 501;
    calls.fail("chown", EROFS);
    EXPECT_EQ(SUIDRoot::setSUIDRoot(kPath, calls), EROFS);
    EXPECT_EQ(calls.calls.size(), 2U);
    EXPECT_EQ(calls.effectiveUser, 0U) << "the switch back belongs to success alone";
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error changing owner to root"}));
}

TEST_F(SUIDRootTest, InstallWithFailingChmodLeavesTheOwnerChangedAndStaysEffectiveRoot) {
    calls.effectiveUser = 501;
    calls.fail("chmod", EPERM);
    EXPECT_EQ(SUIDRoot::setSUIDRoot(kPath, calls), EPERM);
    EXPECT_EQ(calls.calls.size(), 3U) << "nothing is undone";
    EXPECT_EQ(calls.effectiveUser, 0U);
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error changing permissions to setuid"}));
}

using SUIDRootDeathTest = SUIDRootTest;

TEST_F(SUIDRootDeathTest, InstallThatCannotGoBackStopsTheProcess) {
    calls.fail("seteuid", EAGAIN, 2);
    OVSetLogSink(nullptr);
    EXPECT_EXIT(SUIDRoot::setSUIDRoot(kPath, calls), ::testing::KilledBySignal(SIGABRT),
                "Assertion failed: \\(err == 0\\), function "
                "-\\[NSFileManager\\(SUIDRoot\\) setSUIDRoot:\\], file NSFileManager\\+SUIDRoot.cpp, line [0-9]+\\.");
}

TEST_F(SUIDRootDeathTest, InstallOfNoPathStopsTheProcess) {
    OVSetLogSink(nullptr);
    EXPECT_EXIT(SUIDRoot::setSUIDRoot(nullptr, calls), ::testing::KilledBySignal(SIGABRT),
                "Assertion failed: \\(aPath != NULL\\), function -\\[NSFileManager\\(SUIDRoot\\) setSUIDRoot:\\]");
}

TEST_F(SUIDRootDeathTest, SurrenderOfNoPathStopsTheProcess) {
    OVSetLogSink(nullptr);
    EXPECT_EXIT(SUIDRoot::surrenderSUIDRoot(nullptr, calls), ::testing::KilledBySignal(SIGABRT),
                "Assertion failed: \\(aPath != NULL\\), function "
                "-\\[NSFileManager\\(SUIDRoot\\) surrenderSUIDRoot:\\]");
}

TEST_F(SUIDRootTest, SurrenderBecomesRootThenChangesModeThenOwnerThenGoesBack) {
    EXPECT_EQ(SUIDRoot::surrenderSUIDRoot(kPath, calls), 0);
    const std::string path = kPath;
    EXPECT_EQ(calls.calls,
              (Strings{"seteuid(0)", "chmod(" + path + ",0500)", "chown(" + path + ",501,-1)", "seteuid(501)"}));
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(SUIDRootTest, SurrenderThatCannotBecomeRootTouchesNothing) {
    calls.fail("seteuid", EPERM);
    EXPECT_EQ(SUIDRoot::surrenderSUIDRoot(kPath, calls), EPERM);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)"}));
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error switching to euid 0"}));
}

TEST_F(SUIDRootTest, SurrenderWithFailingChmodNeverHandsTheFileOver) {
    calls.fail("chmod", EPERM);
    EXPECT_EQ(SUIDRoot::surrenderSUIDRoot(kPath, calls), EPERM);
    EXPECT_EQ(calls.calls.size(), 2U);
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error 1 reverting setuid"}));
}

TEST_F(SUIDRootTest, SurrenderWithFailingChownReportsIt) {
    calls.fail("chown", EROFS);
    EXPECT_EQ(SUIDRoot::surrenderSUIDRoot(kPath, calls), EROFS);
    EXPECT_EQ(calls.calls.size(), 3U);
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error changing owner to actual user id"}));
}

TEST_F(SUIDRootTest, SurrenderThatCannotGoBackReportsAnErrorInsteadOfStopping) {
    calls.fail("seteuid", EAGAIN, 2);
    EXPECT_EQ(SUIDRoot::surrenderSUIDRoot(kPath, calls), EAGAIN);
    EXPECT_EQ(log.messages,
              (Strings{"OrvaneTool: error " + std::to_string(EAGAIN) + " switching back from effective user root"}));
}

TEST_F(SUIDRootTest, MessagesNameTheLastComponentOfAPathWithTrailingSlash) {
    calls.fail("seteuid", EPERM);
    SUIDRoot::surrenderSUIDRoot("/a/Tool//", calls);
    EXPECT_EQ(log.messages, (Strings{"Tool: error switching to euid 0"}));
}

TEST_F(SUIDRootTest, AFileIsSetUIDRootOnlyWhenRootOwnsItAndTheBitIsSet) {
    calls.fileStatus.st_uid = 0;
    calls.fileStatus.st_mode = S_IFREG | 04555;
    EXPECT_TRUE(SUIDRoot::isSetUIDRoot(kPath, calls));
    calls.fileStatus.st_mode = S_IFREG | 0555;
    EXPECT_FALSE(SUIDRoot::isSetUIDRoot(kPath, calls));
    calls.fileStatus.st_mode = S_IFREG | 02555;
    EXPECT_FALSE(SUIDRoot::isSetUIDRoot(kPath, calls)) << "set-group-ID is another bit";
    calls.fileStatus.st_mode = S_IFREG | 04555;
    calls.fileStatus.st_uid = 501;
    EXPECT_FALSE(SUIDRoot::isSetUIDRoot(kPath, calls));
}

TEST_F(SUIDRootTest, AFileThatCannotBeExaminedIsNotSetUIDRoot) {
    calls.fileStatus.st_mode = S_IFREG | 04555; // what a failed stat may leave behind
    calls.fail("stat", ENOENT);
    EXPECT_FALSE(SUIDRoot::isSetUIDRoot(kPath, calls));
    EXPECT_FALSE(SUIDRoot::isSetUIDRoot(nullptr, calls));
}

class FakeVolumes final : public Volumes {
  public:
    std::optional<std::uint32_t> flags;
    std::string asked;
    std::optional<std::uint32_t> mountFlagsAtPath(const char* path) override {
        asked = path;
        return flags;
    }
    std::optional<std::vector<MountedFileSystem>> mountedFileSystems() override { return std::nullopt; }
};

TEST(SUIDRootVolumeTest, AVolumeIgnoresSetUIDWhenItsMountFlagsSaySo) {
    FakeVolumes volumes;
    volumes.flags = 0x00001008;
    EXPECT_TRUE(SUIDRoot::isIgnoringSetUIDAtPath("/Volumes/Data/x", volumes));
    EXPECT_EQ(volumes.asked, "/Volumes/Data/x");
    volumes.flags = 0x00001000;
    EXPECT_FALSE(SUIDRoot::isIgnoringSetUIDAtPath("/Volumes/Data/x", volumes));
}

TEST(SUIDRootVolumeTest, AVolumeThatCannotBeExaminedIsNotIgnoringSetUID) {
    FakeVolumes volumes;
    EXPECT_FALSE(SUIDRoot::isIgnoringSetUIDAtPath("/nowhere", volumes));
    volumes.flags = 8;
    EXPECT_FALSE(SUIDRoot::isIgnoringSetUIDAtPath(nullptr, volumes));
}

TEST(SUIDRootVolumeTest, TheFlagHasThePlatformsValue) {
    EXPECT_EQ(kMountNoSetUserID, 8U);
}

TEST(SUIDRootVolumeTest, ThePlatformAnswersForTheVolumeOfAPath) {
    EXPECT_FALSE(SUIDRoot::isIgnoringSetUIDAtPath("/nowhere/at/all"));
    // /proc is mounted nosuid or not as the machine likes; what counts is that a real volume is examined.
    EXPECT_TRUE(Volumes::platform().mountFlagsAtPath("/").has_value());
}

} // namespace
} // namespace orvane
