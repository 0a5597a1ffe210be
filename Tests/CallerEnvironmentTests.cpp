#include "Helper Tool/CallerEnvironment.h"

#include "Tests/ChildOfTest.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

namespace orvane {
namespace {

/// Timers go with the process, not with what it starts: nobody else can see them.
TEST(CallerTimersTest, AreAllCancelled) {
    static constexpr std::array kTimers = {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF};
    const auto running = [] {
        int set = 0;
        for (std::size_t index = 0; index < kTimers.size(); ++index) {
            itimerval timer = {};
            ::getitimer(kTimers.at(index), &timer);
            set |= (timer.it_value.tv_sec != 0 || timer.it_interval.tv_sec != 0 ? 1 : 0) << index;
        }
        return set;
    };
    EXPECT_EQ(exitStatusOfChild([&] {
                  const itimerval late = {{1000, 0}, {1000, 0}};
                  for (const auto timer : kTimers) {
                      ::setitimer(timer, &late, nullptr);
                  }
                  // As in a set-user-ID process, where the test itself is root's.
                  if (running() != 7 || (::getuid() == 0 && ::setreuid(501, 0) != 0)) {
                      return 100;
                  }
                  secureProcessFromCaller();
                  return running();
              }),
              0);
}

TEST(HarmlessValueTest, AcceptsNamesOfLocalesAndTerminals) {
    for (const char* value : {"C", "C.UTF-8", "de_DE.UTF-8", "de_DE@euro", "en_US.ISO8859-1", "xterm-256color",
                              "screen.xterm-256color", "xterm+256color"}) {
        EXPECT_TRUE(isHarmlessEnvironmentValue(value)) << value;
    }
}

TEST(HarmlessValueTest, RefusesPathsFormatsAndShellCharacters) {
    for (const char* value : {"", "/etc/passwd", "../evil", "..", ".hidden", "a/b", "%s", "a%n", "a b", "a\nb", "$(id)",
                              "`id`", "a;b", "a=b", "\x1b[2J", "de_DE.UTF-8\xC3\xA4", "() { :; }"}) {
        EXPECT_FALSE(isHarmlessEnvironmentValue(value)) << value;
    }
    EXPECT_TRUE(isHarmlessEnvironmentValue(std::string(64, 'a')));
    EXPECT_FALSE(isHarmlessEnvironmentValue(std::string(65, 'a')));
    EXPECT_FALSE(isHarmlessEnvironmentValue(std::string("a\0b", 3)));
}

TEST(RefusedArgumentTest, RefusesWhatARootShellWouldActOnBetweenDoubleQuotes) {
    for (const char* argument : {"/Volumes/a\"b", "/Volumes/it's", "$HOME", "/Volumes/$(id)", "`id`", "a\\", "a\nb",
                                 "\t", "\x7F", "\x01", "\x1F", "a\xC2\x80", "a\xC2\x85", "a\xC2\x90",
                                 "\xC2\x9F"
                                 "a"}) {
        EXPECT_TRUE(holdsShellCharacter(argument)) << argument;
    }
}

TEST(RefusedArgumentTest, LetsOrdinaryVolumePathsThrough) {
    for (const char* argument :
         {"", "/Volumes/Data", "/Volumes/Time Capsule", "/Volumes/B\xC3\xBCro", "/Volumes/a;b&c|d*?(1)",
          "/Volumes/100%", "/Volumes/a\xC2\xA0", "\xC3\x90", "/Volumes/~"}) {
        EXPECT_FALSE(holdsShellCharacter(argument)) << argument;
    }
}

} // namespace
} // namespace orvane
