#include "Helper Tool/CallerEnvironment.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <unistd.h>

namespace orvane {
namespace {

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
                                 "\t", "\x7F", "\x01", "a\xC2\x85"}) {
        EXPECT_TRUE(holdsShellCharacter(argument)) << argument;
    }
}

TEST(RefusedArgumentTest, LetsOrdinaryVolumePathsThrough) {
    for (const char* argument : {"", "/Volumes/Data", "/Volumes/Time Capsule", "/Volumes/B\xC3\xBCro",
                                 "/Volumes/a;b&c|d*?(1)", "/Volumes/100%"}) {
        EXPECT_FALSE(holdsShellCharacter(argument)) << argument;
    }
}

} // namespace
} // namespace orvane
