#include "Host/OVProcessFamily.h"

#include "Tests/Fakes/FakeProcessTable.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <string>

namespace orvane {
namespace {

using test::FakeProcessTable;
using test::process;
using test::zombie;
using Numbers = std::vector<pid_t>;

constexpr pid_t kHost = 100;      ///< leads the caller's group
constexpr pid_t kTool = 200;      ///< the founder
constexpr pid_t kNeighbour = 150; ///< another child of the caller's

class ProcessFamilyTest : public ::testing::Test {
  protected:
    /// What is known after so many looks.
    OVProcessFamily& look(std::deque<std::optional<test::Processes>> looks) {
        const std::size_t count = looks.size();
        table = std::make_unique<FakeProcessTable>(std::move(looks));
        family = std::make_unique<OVProcessFamily>(*table, kTool, kHost);
        for (std::size_t number = 0; number < count; ++number) {
            family->update();
        }
        return *family;
    }

    [[nodiscard]] Numbers living() const {
        Numbers numbers;
        for (const ProcessRecord& record : family->living()) {
            numbers.push_back(record.processID);
        }
        std::sort(numbers.begin(), numbers.end());
        return numbers;
    }

    const ProcessRecord host = process(kHost, 1, kHost);
    const ProcessRecord neighbour = process(kNeighbour, kHost, kNeighbour);
    const ProcessRecord tool = process(kTool, kHost, kTool);
    std::unique_ptr<FakeProcessTable> table;
    std::unique_ptr<OVProcessFamily> family;
};

TEST_F(ProcessFamilyTest, IsTheFounderAndAllThatDescendsFromItInWhateverOrderTheyStand) {
    look({{{process(230, 220, 220), process(220, 210, 220), neighbour, process(210, kTool, kTool), tool, host,
            process(160, kNeighbour, kNeighbour)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 210, 220, 230}));
}

TEST_F(ProcessFamilyTest, KeepsAProcessWhoseParentHasEndedAndItsLaterChildren) {
    look({{{tool, process(210, kTool, 210), process(220, 210, 220)}},
          {{tool, process(220, 1, 220)}},
          {{tool, process(220, 1, 220), process(230, 220, 230)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 220, 230}));
    EXPECT_EQ(family->groups(), (Numbers{230, 220, kTool}));
}

TEST_F(ProcessFamilyTest, AnIDThatWasGivenAwayAnewIsAnothers) {
    look({{{tool, process(220, kTool, 210)}}, {{tool, process(220, 1, 220, 7777)}}});
    EXPECT_EQ(living(), (Numbers{kTool}));
    look({{{tool, process(220, kTool, 220)}}, {{tool, process(220, 1, 220, 7777), process(230, 1, 220)}}});
    EXPECT_EQ(living(), (Numbers{kTool})) << "and so is the group that it leads";
}

TEST_F(ProcessFamilyTest, WithoutStartsAnIDCountsOnlyInItsGroup) {
    auto early = process(220, kTool, 210);
    auto late = process(220, 1, 220);
    early.started = late.started = 0;
    look({{{tool, early}}, {{tool, late}}});
    EXPECT_EQ(living(), (Numbers{kTool}));
    late.group = 210;
    look({{{tool, early}}, {{tool, late}}});
    EXPECT_EQ(living(), (Numbers{kTool, 220}));
}

TEST_F(ProcessFamilyTest, AnOrphanInAGroupOfTheFamilysBelongsToIt) {
    look({{{tool, process(220, 1, kTool)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 220}));
    look(
        {{{tool, process(210, kTool, 210)}}, {{tool, process(220, 1, 210)}}, {{tool}}, {{tool, process(240, 1, 210)}}});
    EXPECT_EQ(living(), (Numbers{kTool})) << "a group in which nobody was at the last look is nobody's";
}

TEST_F(ProcessFamilyTest, NobodyOfTheCallersGroupBelongsToItByItsGroup) {
    // A child that could not make a session of its own.
    look({{{host, neighbour, process(kTool, kHost, kHost), process(210, kTool, kHost), process(101, 1, kHost)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 210}));
    EXPECT_EQ(family->groups(), (Numbers{})) << "the caller would interrupt itself";
}

TEST_F(ProcessFamilyTest, GroupsBelowTwoAreNobodys) {
    look({{{tool, process(210, kTool, 0), process(211, kTool, 1), process(5, 1, 0), process(6, 1, 1)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 210, 211}));
    EXPECT_EQ(family->groups(), (Numbers{kTool}));
}

TEST_F(ProcessFamilyTest, GroupsComeOnceTheLatestGenerationFirst) {
    look({{{tool, process(210, kTool, kTool), process(220, 210, 220), process(221, 220, 220), process(230, 221, 230),
            process(240, 221, kTool)}}});
    EXPECT_EQ(family->groups(), (Numbers{230, 220, kTool}));
}

TEST_F(ProcessFamilyTest, ZombiesDoNotLiveButTheirGroupIsStillTheFamilys) {
    look({{{tool, zombie(process(210, kTool, 210)), process(220, 1, 210)}}});
    EXPECT_EQ(living(), (Numbers{kTool, 220}));
    look({{{tool, zombie(process(210, kTool, 210))}}});
    EXPECT_EQ(living(), (Numbers{kTool}));
    EXPECT_EQ(family->groups(), (Numbers{kTool}));
    EXPECT_EQ(family->inGroup(210), nullptr);
}

TEST_F(ProcessFamilyTest, OneIsNamedInAGroupItsLeaderIfItLives) {
    look({{{tool, process(211, kTool, 210), process(210, kTool, 210), process(212, kTool, 210)}}});
    ASSERT_NE(family->inGroup(210), nullptr);
    EXPECT_EQ(family->inGroup(210)->processID, 210);
    look({{{tool, process(211, kTool, 210), zombie(process(210, kTool, 210))}}});
    ASSERT_NE(family->inGroup(210), nullptr);
    EXPECT_EQ(family->inGroup(210)->processID, 211);
    EXPECT_EQ(family->inGroup(kHost), nullptr);
}

TEST_F(ProcessFamilyTest, TheYoungestIsOfTheLatestGeneration) {
    look({{{tool, process(220, 210, 210, 5, "rm"), process(210, kTool, 210, 9, "sh"),
            process(211, kTool, 211, 8, "cat"), zombie(process(230, 220, 210, 99, "gone"))}}});
    ASSERT_NE(family->youngest(), nullptr);
    EXPECT_STREQ(family->youngest()->name, "rm");
    look({{{tool, process(210, kTool, 210, 5), process(211, kTool, 211, 8)}}});
    EXPECT_EQ(family->youngest()->processID, 211);
    look({{{zombie(tool)}}});
    EXPECT_EQ(family->youngest(), nullptr);
}

TEST_F(ProcessFamilyTest, WhereTheKernelDoesNotTellItIsWhatItWas) {
    look({std::nullopt});
    EXPECT_FALSE(family->update());
    EXPECT_EQ(living(), (Numbers{kTool}));
    EXPECT_EQ(family->groups(), (Numbers{kTool}));
    look({{{tool, process(210, kTool, 210)}}, std::nullopt});
    EXPECT_EQ(living(), (Numbers{kTool, 210}));
}

TEST_F(ProcessFamilyTest, AFounderThatTheTableHidesIsThereUntilItsStatusWasTaken) {
    look({{{host, neighbour}}, {{host, neighbour}}});
    EXPECT_EQ(living(), (Numbers{kTool}));
    EXPECT_EQ(family->groups(), (Numbers{kTool}));
    family->forgetFounder();
    family->update();
    EXPECT_EQ(living(), (Numbers{}));
}

TEST_F(ProcessFamilyTest, TheFoundersNumberIsAnothersOnceItsStatusWasTaken) {
    look({{{tool, process(210, kTool, kTool)}}, {{process(kTool, 1, kTool), process(210, 1, kTool)}}});
    family->forgetFounder();
    EXPECT_EQ(living(), (Numbers{210}));
    look({std::nullopt});
    family->forgetFounder();
    EXPECT_EQ(living(), (Numbers{}));
    EXPECT_EQ(family->groups(), (Numbers{}));
    table->looks = {{{process(kTool, 1, 900, 12345)}}};
    family->update();
    EXPECT_EQ(living(), (Numbers{}));
}

TEST_F(ProcessFamilyTest, WhatTheFounderLeavesInItsGroupIsFoundEvenIfNeverSeenBefore) {
    look({{{tool}}});
    family->forgetFounder();
    table->looks = {{{process(210, 1, kTool)}}};
    family->update();
    EXPECT_EQ(living(), (Numbers{210}));
}

} // namespace
} // namespace orvane
