#include "Helper Tool/OwnExecutable.h"

#include "Tests/Fakes/FakeSystemCalls.h"
#include "Tests/Fakes/RecordingLog.h"

#include <algorithm>
#include <gtest/gtest.h>

namespace orvane {
namespace {

using testing::FakeSystemCalls;
using testing::RecordingLog;
using Strings = std::vector<std::string>;

constexpr const char* kPath = "/Applications/Some App.app/OrvaneTool";
constexpr int kDescriptor = 7;
constexpr timespec kStart = {1'000'000, 500'000'000};

class FakeExecutable final : public Executable {
  public:
    std::optional<std::string> path = kPath;
    int descriptor = kDescriptor;
    std::optional<std::string> executablePath() override { return path; }
    int openExecutable() override {
        errno = ENOENT;
        return descriptor;
    }
};

class FakeProcess final : public Process {
  public:
    std::optional<timespec> start = kStart;
    std::uint64_t threadID() override { return 1; }
    std::optional<timespec> startTime() override { return start; }
    bool closeDescriptorsFrom(int /*first*/) override { return false; }
};

struct stat changedAt(timespec time) {
    struct stat status = {};
    statusChangeTime(status) = time;
    status.st_mode = S_IFREG | 0755;
    status.st_uid = 501;
    return status;
}

class OwnExecutableTest : public ::testing::Test {
  protected:
    OwnExecutableTest() { calls.fileStatus = changedAt({kStart.tv_sec - 60, 1}); }

    std::int32_t repair() {
        OwnExecutable file(calls, executable, process);
        return SUIDRoot::setSUIDRoot(file, calls);
    }

    std::int32_t surrender() {
        OwnExecutable file(calls, executable, process);
        return SUIDRoot::surrenderSUIDRoot(file, calls);
    }

    /// What both do when the file is not as it was, and that nothing of it is changed.
    void expectRefusal(std::int32_t error, const std::string& reason) {
        for (const bool repairs : {true, false}) {
            calls.calls.clear();
            log.messages.clear();
            EXPECT_EQ(repairs ? repair() : surrender(), error);
            for (const std::string& call : calls.calls) {
                EXPECT_FALSE(call.starts_with("fch") || call.starts_with("ch")) << call;
            }
            ASSERT_EQ(log.messages.size(), 1U);
            EXPECT_EQ(log.messages[0], "OrvaneTool: " + reason);
            EXPECT_EQ(calls.realUser, 501U) << "the user's again";
            EXPECT_EQ(calls.effectiveUser, 0U) << "as after every change that fails";
            EXPECT_FALSE(sigismember(&calls.blockedSignals, SIGTSTP));
        }
    }

    void expectJustChanged() {
        expectRefusal(EAGAIN, "the file has just been changed (since this process was started, or right before), it is "
                              "left as it is");
    }

    FakeSystemCalls calls;
    FakeExecutable executable;
    FakeProcess process;
    RecordingLog log;
};

TEST_F(OwnExecutableTest, RepairLooksAndChangesTheOpenFileOutOfItsUsersReachWithNothingBetween) {
    EXPECT_EQ(repair(), 0);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)", "sigprocmask(" + std::to_string(SIG_BLOCK) + ")", "setreuid(0,0)",
                                    "fstat(7)", "fchown(7,0,-1)", "fchmod(7,0104555)", "close(7)", "setreuid(501,0)",
                                    "sigprocmask(" + std::to_string(SIG_SETMASK) + ")", "seteuid(501)"}));
    EXPECT_EQ(calls.realUser, 501U);
    EXPECT_EQ(calls.effectiveUser, 501U);
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(OwnExecutableTest, SurrenderDoesTheSameAndHandsTheFileToTheUserWhoStartedIt) {
    EXPECT_EQ(surrender(), 0);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)", "sigprocmask(" + std::to_string(SIG_BLOCK) + ")", "setreuid(0,0)",
                                    "fstat(7)", "fchmod(7,0500)", "fchown(7,501,-1)", "close(7)", "setreuid(501,0)",
                                    "sigprocmask(" + std::to_string(SIG_SETMASK) + ")", "seteuid(501)"}));
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(OwnExecutableTest, EverySignalIsBlockedMeanwhileAndTheUsersMaskComesBack) {
    sigaddset(&calls.blockedSignals, SIGUSR2);
    EXPECT_EQ(repair(), 0);
    for (const int number : {SIGTSTP, SIGTTOU, SIGINT, SIGHUP, SIGTERM, SIGXCPU, SIGALRM}) {
        EXPECT_EQ(sigismember(&calls.blockedAtChange, number), 1) << number;
        EXPECT_EQ(sigismember(&calls.blockedSignals, number), 0) << number;
    }
    EXPECT_EQ(sigismember(&calls.blockedSignals, SIGUSR2), 1);
}

TEST_F(OwnExecutableTest, AFileChangedSinceTheStartIsLeftAsItIs) {
    for (const timespec time : {timespec{kStart.tv_sec + 1, 5}, timespec{kStart.tv_sec, kStart.tv_nsec + 1}, kStart}) {
        calls.fileStatus = changedAt(time);
        expectJustChanged();
    }
}

TEST_F(OwnExecutableTest, WithinTheClocksGrainCountsAsLater) {
    calls.fileStatus = changedAt({kStart.tv_sec, kStart.tv_nsec - 10'000'000});
    expectJustChanged();
    calls.fileStatus = changedAt({kStart.tv_sec, kStart.tv_nsec - 10'000'001});
    EXPECT_EQ(repair(), 0);
    process.start = timespec{kStart.tv_sec, 5};
    calls.fileStatus = changedAt({kStart.tv_sec - 1, 999'999'999});
    expectJustChanged();
    calls.fileStatus = changedAt({kStart.tv_sec - 1, 990'000'004});
    EXPECT_EQ(repair(), 0);
}

TEST_F(OwnExecutableTest, WholeSecondsMayMeanAnyMomentOfThem) {
    calls.fileStatus = changedAt({kStart.tv_sec, 0});
    expectJustChanged();
    process.start = timespec{kStart.tv_sec, 0};
    calls.fileStatus = changedAt({kStart.tv_sec - 1, 0});
    expectJustChanged();
    process.start = timespec{kStart.tv_sec, 1};
    EXPECT_EQ(repair(), 0);
}

TEST_F(OwnExecutableTest, AnInstalledFileMayBeChangedWheneverItWasBecauseEverybodyMayStartItAnew) {
    calls.fileStatus = changedAt({kStart.tv_sec + 60, 1});
    calls.fileStatus.st_uid = 0;
    calls.fileStatus.st_mode = S_IFREG | 04555;
    EXPECT_EQ(repair(), 0);
    EXPECT_EQ(surrender(), 0);
}

TEST_F(OwnExecutableTest, AlmostInstalledIsNotInstalled) {
    for (const mode_t mode : std::initializer_list<mode_t>{04550, 04511, 0555, 06555, 05555, 04755}) {
        calls.fileStatus = changedAt({kStart.tv_sec + 60, 1});
        calls.fileStatus.st_uid = 0;
        calls.fileStatus.st_mode = S_IFREG | mode;
        expectJustChanged();
    }
    calls.fileStatus.st_mode = S_IFREG | 04555;
    calls.fileStatus.st_uid = 501;
    expectJustChanged();
}

TEST_F(OwnExecutableTest, WhatIsNoFileOrCannotBeExaminedIsLeftAsItIs) {
    calls.fileStatus.st_mode = S_IFIFO | 0644;
    expectJustChanged();
    calls.fileStatus = changedAt({kStart.tv_sec - 60, 1});
    calls.fail("fstat", EIO);
    EXPECT_EQ(repair(), EAGAIN);
    process.start = std::nullopt;
    expectJustChanged();
}

TEST_F(OwnExecutableTest, AFileThatCannotBeToldFromItsNameIsRootsAloneToChange) {
    executable.descriptor = -1;
    expectRefusal(EPERM, "the running executable cannot be told from its name, only root may change it");
    calls.realUser = 0;
    calls.calls.clear();
    EXPECT_EQ(repair(), 0);
    const std::string path = kPath;
    EXPECT_EQ(calls.calls,
              (Strings{"seteuid(0)", "chown(" + path + ",0,-1)", "chmod(" + path + ",0104555)", "seteuid(0)"}));
}

TEST_F(OwnExecutableTest, RootsOwnChangeIsOfTheOpenFileAndAsksNothing) {
    calls.realUser = 0;
    calls.fileStatus = changedAt({kStart.tv_sec + 60, 1});
    EXPECT_EQ(repair(), 0);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)", "fchown(7,0,-1)", "fchmod(7,0104555)", "close(7)", "seteuid(0)"}));
}

TEST_F(OwnExecutableTest, AProcessThatStaysInItsUsersReachChangesNothing) {
    calls.fail("setreuid", EPERM);
    EXPECT_EQ(repair(), EPERM);
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: the process cannot leave its user's reach, the file is left as it "
                                     "is"}));
    EXPECT_EQ(std::count(calls.calls.begin(), calls.calls.end(), "fstat(7)"), 0);
    EXPECT_EQ(calls.calls.back(), "sigprocmask(" + std::to_string(SIG_SETMASK) + ")");
}

TEST_F(OwnExecutableTest, WhoCannotBecomeRootIsToldSoBeforeTheFileIsLookedAt) {
    calls.effectiveUser = 501;
    calls.fail("seteuid", EPERM);
    EXPECT_EQ(repair(), EPERM);
    EXPECT_EQ(calls.calls, (Strings{"seteuid(0)"}));
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error 1 switching to priviliged uid"}));
}

TEST_F(OwnExecutableTest, AChangeThatFailsIsLoggedWhenTheProcessIsTheUsersAgain) {
    calls.fail("close", EIO); // whose error is not the change's
    calls.fail("fchmod", EROFS);
    EXPECT_EQ(repair(), EROFS);
    EXPECT_EQ(calls.realUser, 501U);
    EXPECT_EQ(calls.effectiveUser, 0U) << "the switch back belongs to success alone";
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error changing permissions to setuid"}));
    calls.effectiveUser = 0;
    log.messages.clear();
    calls.fail("fchown", EIO);
    EXPECT_EQ(surrender(), EIO);
    EXPECT_EQ(calls.realUser, 501U);
    EXPECT_EQ(log.messages, (Strings{"OrvaneTool: error changing owner to actual user id"}));
}

using OwnExecutableDeathTest = OwnExecutableTest;

TEST_F(OwnExecutableDeathTest, AMissingPathStopsTheProcess) {
    executable.path = std::nullopt;
    OVSetLogSink(nullptr);
    EXPECT_EXIT(repair(), ::testing::KilledBySignal(SIGABRT), "Assertion failed: \\(aPath != NULL\\)");
}

TEST_F(OwnExecutableDeathTest, AProcessThatCannotBecomeItsUsersAgainIsStopped) {
    calls.fail("setreuid", EAGAIN, 2);
    OVSetLogSink(nullptr);
    EXPECT_EXIT(repair(), ::testing::KilledBySignal(SIGABRT), "Assertion failed: \\(err == 0\\)");
}

} // namespace
} // namespace orvane
