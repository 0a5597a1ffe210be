#include "Tasks/OVMemoryStatistics.h"
#include "Tasks/OVTaskRunner.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <limits>
#include <unistd.h>

namespace orvane {
namespace {

using Keys = std::vector<std::string>;
using Command = test::RecordingCommands::Run;

constexpr const char* kWalk = "(/usr/bin/du -k -x / >/dev/null 2>&1) & sleep 20; kill $! >/dev/null 2>&1";

/// What standard error gets while it lives.
class StandardError {
  public:
    StandardError() { ::testing::internal::CaptureStderr(); }
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;
    ~StandardError() {
        if (!taken_) {
            ::testing::internal::GetCapturedStderr();
        }
    }
    std::string take() {
        taken_ = true;
        return ::testing::internal::GetCapturedStderr();
    }

  private:
    bool taken_ = false;
};

// Measuring.

TEST(OVMemoryStatistics, MultipliesPagesByTheirSizeInSixtyFourBits) {
    test::FakeHostMemory memory;
    memory.pages = {1000, 0, 0xFFFFFFFF};
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), 4096000);
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), 0);
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), 17592186040320);
    memory.size = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), 2147483647LL * 4294967295LL);
}

TEST(OVMemoryStatistics, PageSizeIsSigned) {
    test::FakeHostMemory memory;
    memory.size = -2;
    memory.pages = {0xFFFFFFFF};
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), -8589934590);
}

TEST(OVMemoryStatistics, UnknownPageSizeIsSaidWithoutANewline) {
    test::FakeHostMemory memory;
    memory.size = std::nullopt;
    memory.pages = {std::nullopt};
    StandardError error;
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), -1);
    EXPECT_EQ(error.take(), "getting page size");
}

TEST(OVMemoryStatistics, UnknownPagesAreSaidWithoutANewline) {
    test::FakeHostMemory memory;
    memory.pages = {std::nullopt};
    StandardError error;
    EXPECT_EQ(OVMemoryStatistics::freeMemoryCount(memory), -1);
    EXPECT_EQ(error.take(), "failed to get VM statistics");
}

TEST(HostMemory, KnowsThePageSizeAndFreePages) {
    EXPECT_EQ(HostMemory::platform().pageSize(), ::sysconf(_SC_PAGESIZE));
    const auto pages = HostMemory::platform().freePages();
    ASSERT_TRUE(pages);
    EXPECT_LT(*pages, std::uint32_t{1} << 31U);
}

// Releasing.

struct FreeMemory : ::testing::Test, test::RecordingWorld {
    FreeMemory() {
        runner.setDelegate(test::unowned<OVTaskDelegate>(owner));
        gestalt.become(10, 13, 0);
    }

    /// The message for that many free pages of one byte before the walk and after it.
    std::string messageFor(std::optional<std::uint32_t> before, std::optional<std::uint32_t> after) {
        hostMemory.size = 1;
        hostMemory.pages = {before, after};
        commands.runs.clear();
        EXPECT_EQ(runner.freeMemory(), 0);
        EXPECT_EQ(commands.runs.size(), 2U);
        EXPECT_EQ(commands.runs.front(), (Command{"/bin/sh", {"-c", kWalk}}));
        EXPECT_EQ(commands.runs.back().path, "/bin/echo");
        EXPECT_EQ(commands.runs.back().arguments.size(), 1U);
        return commands.runs.back().arguments.front();
    }

    test::RecordingDelegate owner;
    OVTaskRunner runner{services()};
};

TEST_F(FreeMemory, WalksThenTellsTheGain) {
    hostMemory.pages = {1000, 1366, 5};
    EXPECT_EQ(runner.freeMemory(), 0);
    EXPECT_EQ(commands.runs,
              (std::vector<Command>{{"/bin/sh", {"-c", kWalk}}, {"/bin/echo", {"1.5 MB of memory freed"}}}));
    EXPECT_EQ(hostMemory.pages.size(), 1U); // measured twice
}

TEST_F(FreeMemory, MeasuresAroundTheWalk) {
    hostMemory.pages = {1000};
    commands.during = [&](OVShellCommandDelegate&) { hostMemory.pages = {2000}; };
    EXPECT_EQ(runner.freeMemory(), 0);
    ASSERT_EQ(commands.runs.size(), 2U);
    EXPECT_EQ(commands.runs[1].arguments, Keys{"4.1 MB of memory freed"});
}

TEST_F(FreeMemory, GainIsShownAsTheByteFormatterDoes) {
    EXPECT_EQ(messageFor(0, 1), "1 byte of memory freed");
    EXPECT_EQ(messageFor(0, 999), "999 bytes of memory freed");
    EXPECT_EQ(messageFor(5, 1005), "1.0 KB of memory freed");
    EXPECT_EQ(messageFor(0, 3000000000), "3.0 GB of memory freed");
    locale.separator = ",";
    EXPECT_EQ(messageFor(0, 1500), "1,5 KB of memory freed");
    gestalt.become(10, 5, 8); // its kilo was 1024
    EXPECT_EQ(messageFor(0, 1000), "1000 bytes of memory freed");
}

TEST_F(FreeMemory, NoGainIsNoNegativeAmount) {
    EXPECT_EQ(messageFor(1000, 1000), "No memory freed");
    EXPECT_EQ(messageFor(1000, 999), "No memory freed");
    EXPECT_EQ(messageFor(4294967295, 0), "No memory freed");
}

TEST_F(FreeMemory, FailedWalkIsReturnedAtOnce) {
    hostMemory.pages = {1, 2, 3, 4};
    commands.results = {7, OVShellCommandCancelled, OVShellCommandCancelFailed};
    EXPECT_EQ(runner.freeMemory(), 1);
    EXPECT_EQ(hostMemory.pages.size(), 3U); // measured once
    EXPECT_EQ(runner.freeMemory(), 2);
    EXPECT_EQ(runner.freeMemory(), 2);
    EXPECT_EQ(hostMemory.pages.size(), 1U);
    EXPECT_EQ(commands.runs.size(), 3U); // no message
}

TEST_F(FreeMemory, StatusOfTheMessageIsIgnored) {
    commands.results = {0, 1, 0, OVShellCommandCancelled};
    EXPECT_EQ(runner.freeMemory(), 0);
    EXPECT_EQ(runner.freeMemory(), 0);
    EXPECT_EQ(commands.runs.size(), 4U);
}

TEST_F(FreeMemory, UnknownBeforeTheWalkCountsAsMinusOne) {
    StandardError error;
    EXPECT_EQ(messageFor(std::nullopt, 999), "1.0 KB of memory freed"); // the whole and one byte
    EXPECT_EQ(error.take(), "failed to get VM statistics");
}

TEST_F(FreeMemory, UnknownAfterTheWalkIsNoGain) {
    StandardError error;
    EXPECT_EQ(messageFor(999, std::nullopt), "No memory freed");
    EXPECT_EQ(error.take(), "failed to get VM statistics");
}

TEST_F(FreeMemory, NothingKnownIsNoGain) {
    hostMemory.size = std::nullopt;
    StandardError error;
    EXPECT_EQ(runner.freeMemory(), 0);
    EXPECT_EQ(error.take(), "getting page sizegetting page size");
    EXPECT_EQ(commands.runs.back().arguments, Keys{"No memory freed"});
}

TEST_F(FreeMemory, GainIsTranslatedAndNoGainIsNot) {
    bundle.table["%@ of memory freed"] = "%@ Speicher frei";
    bundle.table["%1.1f KB"] = "%1.1f kB";
    bundle.table["No memory freed"] = "Nichts frei";
    EXPECT_EQ(messageFor(0, 2000), "2.0 kB Speicher frei");
    EXPECT_EQ(messageFor(2000, 0), "No memory freed");
    bundle.table["%@ of memory freed"] = "%d of %@"; // of no use
    EXPECT_EQ(messageFor(0, 2000), "2.0 kB of memory freed");
}

/// Notes what is looked up.
class NotingBundle final : public Bundle {
  public:
    std::optional<std::string> bundleIdentifier() override { return std::nullopt; }
    std::optional<std::string> pathForResource(std::string_view /*name*/, std::string_view /*ofType*/) override {
        return std::nullopt;
    }
    std::string localizedString(std::string_view key) override { return keys.emplace_back(key); }

    Keys keys;
};

TEST_F(FreeMemory, AmountIsFormattedWhateverItsSign) {
    NotingBundle noting;
    OVTaskRunnerServices with = services();
    with.bundle = &noting;
    OVTaskRunner own(with);
    hostMemory.size = 1;
    const auto lookedUp = [&](std::uint32_t before, std::uint32_t after) {
        noting.keys.clear();
        hostMemory.pages = {before, after};
        EXPECT_EQ(own.freeMemory(), 0);
        return noting.keys;
    };
    EXPECT_EQ(lookedUp(0, 5), (Keys{"%i bytes", "%@ of memory freed"}));
    EXPECT_EQ(lookedUp(5, 5), Keys{"%i bytes"});
    EXPECT_EQ(lookedUp(5, 4), Keys{"Calculating size..."}); // minus one: every bit of the count is set
    EXPECT_EQ(lookedUp(5, 0).size(), 1U);
}

/// Does not walk, but lets the message be printed.
class EchoAlone final : public CommandRunner {
  public:
    Outcome runCommandAtPath(const std::string& path, const std::vector<std::string>& arguments,
                             OVShellCommandDelegate* delegate) override {
        return path == "/bin/echo" ? shellCommands().runCommandAtPath(path, arguments, delegate) : Outcome{};
    }
};

TEST_F(FreeMemory, MessageReachesTheOwnerAsALineOfOutput) {
    EchoAlone echo;
    OVTaskRunner printing(
        {.commands = echo, .bundle = &bundle, .gestalt = &gestalt, .hostMemory = &hostMemory, .locale = &locale});
    printing.setDelegate(test::unowned<OVTaskDelegate>(owner));
    hostMemory.size = 1;
    hostMemory.pages = {0, 512};
    EXPECT_EQ(printing.freeMemory(), 0);
    EXPECT_EQ(owner.output, "512 bytes of memory freed\n");
}

} // namespace
} // namespace orvane
