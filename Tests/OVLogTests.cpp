#include "Support/OVLog.h"

#include "Platform/Process.h"
#include "Tests/Fakes/RecordingLog.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace orvane {
namespace {

/// Standard error and standard output as message sockets, on which every write arrives as a message of its
/// own.
class Streams {
  public:
    Streams() {
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
            std::array<int, 2> ends = {};
            EXPECT_EQ(::socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()), 0);
            // Not MSG_DONTWAIT, which not every system passes on.
            EXPECT_EQ(::fcntl(ends[0], F_SETFL, O_NONBLOCK), 0);
            const int longest = 65536; // macOS is used to shorter messages
            EXPECT_EQ(::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &longest, sizeof longest), 0);
            saved_.at(static_cast<std::size_t>(descriptor)) = ::dup(descriptor);
            ::dup2(ends[1], descriptor);
            ::close(ends[1]);
            reading_.at(static_cast<std::size_t>(descriptor)) = ends[0];
        }
    }

    ~Streams() {
        for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
            ::dup2(saved_.at(static_cast<std::size_t>(descriptor)), descriptor);
            ::close(saved_.at(static_cast<std::size_t>(descriptor)));
            ::close(reading_.at(static_cast<std::size_t>(descriptor)));
        }
    }

    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    std::vector<std::string> writes(int descriptor) {
        std::vector<std::string> all;
        std::string buffer(65536, '\0');
        ssize_t length = 0;
        while ((length = ::read(reading_.at(static_cast<std::size_t>(descriptor)), buffer.data(), buffer.size())) > 0) {
            all.push_back(buffer.substr(0, static_cast<std::size_t>(length)));
        }
        return all;
    }

  private:
    std::array<int, 3> saved_ = {};
    std::array<int, 3> reading_ = {};
};

TEST(OVLogTest, WritesOneWholeLineToStandardErrorInTheLogsLayout) {
    timeval now = {};
    do { // early in a second, when the thousandths begin with zeros
        ::usleep(1000);
        ::gettimeofday(&now, nullptr);
    } while (now.tv_usec > 50000);
    std::vector<std::string> errors;
    std::vector<std::string> output;
    {
        Streams streams;
        OVLog("error %d of %s", 13, "thing");
        errors = streams.writes(STDERR_FILENO);
        output = streams.writes(STDOUT_FILENO);
    }
    ASSERT_EQ(errors.size(), 1U) << "a message is one write";
    EXPECT_TRUE(output.empty()) << "standard output belongs to the tasks";
    const std::string pid = std::to_string(::getpid());
    EXPECT_TRUE(::testing::internal::RE::FullMatch(
        errors[0], "[0-9][0-9][0-9][0-9]-[0-9][0-9]-[0-9][0-9] [0-9][0-9]:[0-9][0-9]:[0-9][0-9]\\.[0-9][0-9][0-9] "
                   "[^ []+\\[" +
                       pid + ":" + std::to_string(Process::current().threadID()) + "\\] error 13 of thing\n"))
        << errors[0];
}

TEST(OVLogTest, WritesALongMessageWhole) {
    const std::string text(20000, 'x');
    std::vector<std::string> errors;
    {
        Streams streams;
        OVLog("%s", text.c_str());
        errors = streams.writes(STDERR_FILENO);
    }
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_NE(errors[0].find("] " + text + "\n"), std::string::npos);
}

TEST(OVLogTest, WhateverAMessageHoldsItStaysOneLineOfPlainCharacters) {
    testing::RecordingLog log;
    OVLog("%s", "/Users/ann/x\n2026-01-01 OrvaneTool[1:1] forged\r\t\x1B[2J\x7F");
    OVLog("%s", "next \xC2\x85 line\xE2\x80\xA8 paragraph\xE2\x80\xA9 C1 \xC2\x80\xC2\x9F\xC2\xA0");
    OVLog("%s", "\xE2\x80\xAA\xE2\x80\xAE\xE2\x80\xAF \xE2\x81\xA6\xE2\x81\xA9\xE2\x81\xAA");
    OVLog("%s", "B\xC3\xBCro \xF0\x9F\x93\x81 \xFF cut \xE2\x80");
    EXPECT_EQ(log.messages,
              (std::vector<std::string>{
                  R"(/Users/ann/x\0122026-01-01 OrvaneTool[1:1] forged\015\011\033[2J\177)",
                  "next \\302\\205 line\\342\\200\\250 paragraph\\342\\200\\251 C1 \\302\\200\\302\\237\xC2\xA0",
                  "\\342\\200\\252\\342\\200\\256\xE2\x80\xAF \\342\\201\\246\\342\\201\\251\xE2\x81\xAA",
                  "B\xC3\xBCro \xF0\x9F\x93\x81 \\377 cut \\342\\200",
              }));
}

TEST(OVLogTest, TheLineOnStandardErrorIsOneWhateverTheMessageHolds) {
    std::vector<std::string> errors;
    {
        Streams streams;
        OVLog("a%sb", "\n\n");
        errors = streams.writes(STDERR_FILENO);
    }
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_EQ(errors[0].find('\n'), errors[0].size() - 1);
    EXPECT_TRUE(errors[0].ends_with("] a\\012\\012b\n")) << errors[0];
}

TEST(OVLogTest, AMethodMessageBeginsWithTheMethodAndTheSourceLine) {
    testing::RecordingLog log;
    OVLogMethod("-[Thing doIt:]", "error %ld", 7L);
    const int line = __LINE__ - 1;
    OVLogMethod("-[Thing doIt:]", "plain");
    EXPECT_EQ(log.messages, (std::vector<std::string>{
                                "-[Thing doIt:] [Line " + std::to_string(line) + "] error 7",
                                "-[Thing doIt:] [Line " + std::to_string(line + 2) + "] plain",
                            }));
}

TEST(OVLogTest, AReplacedSinkTakesTheMessageAloneAndKeepsStandardErrorFree) {
    std::vector<std::string> errors;
    testing::RecordingLog log;
    {
        Streams streams;
        OVLog("to the sink");
        errors = streams.writes(STDERR_FILENO);
    }
    EXPECT_TRUE(errors.empty());
    EXPECT_EQ(log.messages, (std::vector<std::string>{"to the sink"}));
}

TEST(OVLogTest, SettingASinkAnswersWithTheOneBefore) {
    testing::RecordingLog first;
    {
        testing::RecordingLog second;
        EXPECT_EQ(OVSetLogSink(&second), &second);
    }
    EXPECT_EQ(OVSetLogSink(&first), &first) << "the second gave back what it found";
}

/// Leaves another error number behind, as whatever writes a message may.
class SpoilingSink final : public OVLogSink {
  public:
    void logMessage(const char* /*message*/) override { errno = EIO; }
};

TEST(OVLogTest, KeepsErrno) {
    const int saved = ::dup(STDERR_FILENO);
    ::close(STDERR_FILENO); // so that the line itself fails
    errno = ENOTDIR;
    OVLog("anything");
    const int builtIn = errno;
    ::dup2(saved, STDERR_FILENO);
    ::close(saved);
    EXPECT_EQ(builtIn, ENOTDIR);

    SpoilingSink sink;
    OVLogSink* const before = OVSetLogSink(&sink);
    errno = EXDEV;
    OVLog("anything");
    const int spoilt = errno;
    OVSetLogSink(before);
    EXPECT_EQ(spoilt, EXDEV);
}

TEST(OVAssertDeathTest, AFailedAssertionReportsAndStopsWhateverTheBuild) {
    const int answer = 41;
    EXPECT_EXIT(OVAssert(answer == 42, "-[Thing ask]"), ::testing::KilledBySignal(SIGABRT),
                "Assertion failed: \\(answer == 42\\), function -\\[Thing ask\\], file OVLogTests.cpp, line "
                "[0-9]+\\.");
}

TEST(OVAssertTest, ATrueConditionCostsNothingAndIsAskedOnce) {
    testing::RecordingLog log;
    int asked = 0;
    OVAssert(++asked == 1, "-[Thing ask]");
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(log.messages.empty());
}

} // namespace
} // namespace orvane
