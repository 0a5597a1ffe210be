#include "Support/ZRSystemVersion.h"
#include "Tests/Fakes/FakeServices.h"
#include "Tests/Fakes/RecordingLog.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace orvane::test {
namespace {

using testing::RecordingLog;

class SystemVersionTest : public ::testing::Test {
  protected:
    void ask() { GetSystemVersion(&major_, &minor_, &bugFix_, gestalt_); }

    void expectVersion(std::int32_t major, std::int32_t minor, std::int32_t bugFix) const {
        EXPECT_EQ(major_, major);
        EXPECT_EQ(minor_, minor);
        EXPECT_EQ(bugFix_, bugFix);
    }

    FakeGestalt gestalt_;
    RecordingLog log_;
    std::int32_t major_ = 77;
    std::int32_t minor_ = 88;
    std::int32_t bugFix_ = 99;
};

TEST_F(SystemVersionTest, BeforeVersion104OneAnswerHoldsAllThreeNumbers) {
    gestalt_.answers = {{gestaltSystemVersion, 0x1039}};
    ask();
    expectVersion(10, 3, 9);
    EXPECT_EQ(gestalt_.asked, (std::vector<std::uint32_t>{gestaltSystemVersion}));
    EXPECT_TRUE(log_.messages.empty());
}

TEST_F(SystemVersionTest, TheLastAnswerThatHoldsAllIs103F) {
    gestalt_.answers = {{gestaltSystemVersion, 0x103F}};
    ask();
    expectVersion(10, 3, 15);
    EXPECT_EQ(gestalt_.asked.size(), 1U);
}

TEST_F(SystemVersionTest, TheMajorNumberHasTwoDigits) {
    gestalt_.answers = {{gestaltSystemVersion, 0x0922}};
    ask();
    expectVersion(9, 2, 2);
    gestalt_.answers = {{gestaltSystemVersion, 0}};
    ask();
    expectVersion(0, 0, 0);
}

TEST_F(SystemVersionTest, FromVersion104OnThreeFurtherQuestionsAreAsked) {
    gestalt_.answers = {{gestaltSystemVersion, 0x1040},
                        {gestaltSystemVersionMajor, 10},
                        {gestaltSystemVersionMinor, 6},
                        {gestaltSystemVersionBugFix, 8}};
    ask();
    expectVersion(10, 6, 8);
    EXPECT_EQ(gestalt_.asked, (std::vector<std::uint32_t>{gestaltSystemVersion, gestaltSystemVersionMajor,
                                                          gestaltSystemVersionMinor, gestaltSystemVersionBugFix}));
}

TEST_F(SystemVersionTest, TheThreeAnswersAreTakenAsTheyAre) {
    gestalt_.answers = {{gestaltSystemVersion, 0x1096},
                        {gestaltSystemVersionMajor, -3},
                        {gestaltSystemVersionMinor, std::numeric_limits<std::int32_t>::max()},
                        {gestaltSystemVersionBugFix, std::numeric_limits<std::int32_t>::min()}};
    ask();
    expectVersion(-3, std::numeric_limits<std::int32_t>::max(), std::numeric_limits<std::int32_t>::min());
}

TEST_F(SystemVersionTest, ANegativeAnswerIsBelow104AndDecodedLikeTheOthers) {
    gestalt_.answers = {{gestaltSystemVersion, -1}};
    ask();
    expectVersion(165, 15, 15);
    EXPECT_EQ(gestalt_.asked.size(), 1U);
    gestalt_.answers = {{gestaltSystemVersion, std::numeric_limits<std::int32_t>::min()}};
    ask();
    expectVersion(0, 0, 0);
}

TEST_F(SystemVersionTest, TheFirstQuestionThatFailsIsLoggedAndTheVersionIs1000) {
    const std::vector<std::uint32_t> questions = {gestaltSystemVersion, gestaltSystemVersionMajor,
                                                  gestaltSystemVersionMinor, gestaltSystemVersionBugFix};
    for (std::size_t failing = 0; failing < questions.size(); ++failing) {
        gestalt_.become(10, 6, 8);
        gestalt_.errors = {{questions[failing], gestaltUnknownErr}};
        gestalt_.asked.clear();
        log_.messages.clear();
        major_ = 77;
        minor_ = 88;
        bugFix_ = 99;
        ask();
        expectVersion(10, 0, 0);
        EXPECT_EQ(gestalt_.asked,
                  std::vector<std::uint32_t>(questions.begin(), questions.begin() + static_cast<long>(failing) + 1));
        EXPECT_EQ(log_.messages, (std::vector<std::string>{"Unable to obtain system version: -5550"}));
    }
}

TEST_F(SystemVersionTest, TheErrorIsLoggedWithItsSign) {
    gestalt_.errors = {{gestaltSystemVersion, std::numeric_limits<std::int16_t>::min()}};
    ask();
    EXPECT_EQ(log_.messages, (std::vector<std::string>{"Unable to obtain system version: -32768"}));
}

/// Looks at the caller's numbers at each question.
class WatchingGestalt final : public Gestalt {
  public:
    WatchingGestalt(const std::int32_t& number, std::int32_t expected) : number_(number), expected_(expected) {}
    std::int16_t ask(std::uint32_t /*selector*/, std::int32_t* response) override {
        EXPECT_EQ(number_, expected_);
        ++questions;
        *response = 0x7000;
        return questions == 4 ? gestaltUndefSelectorErr : std::int16_t{0};
    }

    int questions = 0;

  private:
    const std::int32_t& number_;
    std::int32_t expected_;
};

TEST_F(SystemVersionTest, NothingIsStoredBeforeAllQuestionsHaveBeenAnswered) {
    WatchingGestalt watching(major_, 77);
    GetSystemVersion(&major_, &minor_, &bugFix_, watching);
    EXPECT_EQ(watching.questions, 4);
    expectVersion(10, 0, 0);
}

TEST_F(SystemVersionTest, NullPointersAreSkippedOnSuccessAndOnFailure) {
    for (const bool fails : {false, true}) {
        gestalt_.become(10, 6, 8);
        if (fails) {
            gestalt_.errors = {{gestaltSystemVersionBugFix, gestaltUnknownErr}};
        }
        for (unsigned given = 0; given < 8; ++given) {
            major_ = 77;
            minor_ = 88;
            bugFix_ = 99;
            GetSystemVersion((given & 1U) != 0 ? &major_ : nullptr, (given & 2U) != 0 ? &minor_ : nullptr,
                             (given & 4U) != 0 ? &bugFix_ : nullptr, gestalt_);
            expectVersion((given & 1U) != 0 ? 10 : 77, (given & 2U) != 0 ? (fails ? 0 : 6) : 88,
                          (given & 4U) != 0 ? (fails ? 0 : 8) : 99);
        }
    }
}

TEST_F(SystemVersionTest, TheTextHasThreeNumbersWithDots) {
    gestalt_.become(10, 6, 8);
    EXPECT_EQ(SystemVersionString(gestalt_), "10.6.8");
    gestalt_.become(10, 15, 0);
    EXPECT_EQ(SystemVersionString(gestalt_), "10.15.0");
    gestalt_.become(-1, 0, 12);
    EXPECT_EQ(SystemVersionString(gestalt_), "-1.0.12");
}

TEST_F(SystemVersionTest, AFailureShowsAs1000AndIsNotSnowLeopard) {
    gestalt_.errors = {{gestaltSystemVersion, gestaltUndefSelectorErr}};
    EXPECT_EQ(SystemVersionString(gestalt_), "10.0.0");
    EXPECT_FALSE(SystemIsSnowLeopardOrLater(gestalt_));
    EXPECT_EQ(log_.messages.size(), 2U);
}

TEST_F(SystemVersionTest, SnowLeopardOrLaterIsAVersion10From106On) {
    const auto isLater = [&](std::int32_t major, std::int32_t minor) {
        gestalt_.become(major, minor, 8);
        return SystemIsSnowLeopardOrLater(gestalt_);
    };
    EXPECT_FALSE(isLater(10, 4));
    EXPECT_FALSE(isLater(10, 5));
    EXPECT_TRUE(isLater(10, 6));
    EXPECT_TRUE(isLater(10, 13));
    EXPECT_TRUE(isLater(10, 16));
}

TEST_F(SystemVersionTest, OtherMajorNumbersAreNoSnowLeopard) {
    for (const std::int32_t major : {-10, 0, 9, 11, 12, 26}) {
        gestalt_.become(major, 6, 0);
        EXPECT_FALSE(SystemIsSnowLeopardOrLater(gestalt_)) << major;
    }
    gestalt_.become(11, 0, 0);
    EXPECT_FALSE(SystemIsSnowLeopardOrLater(gestalt_));
}

TEST_F(SystemVersionTest, TheMinorNumberIsComparedWithoutSign) {
    gestalt_.become(10, -1, 0);
    EXPECT_TRUE(SystemIsSnowLeopardOrLater(gestalt_));
}

TEST_F(SystemVersionTest, BinaryCodedVersionsAreTestedToo) {
    gestalt_.answers = {{gestaltSystemVersion, 0x1039}};
    EXPECT_FALSE(SystemIsSnowLeopardOrLater(gestalt_));
    EXPECT_EQ(SystemVersionString(gestalt_), "10.3.9");
}

} // namespace
} // namespace orvane::test
