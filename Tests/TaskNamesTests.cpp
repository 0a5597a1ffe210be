// What a list's names reach a command as: the same as with the whole list, although only some names are asked about.

#include "Tasks/OVTaskNames.h"

#include "Tests/TaskRunnerTestSupport.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace orvane {
namespace {

using Strings = std::vector<std::string>;
using Kind = OVArrivals::Kind;

OVArrivals arrivals(const Strings& names) {
    return OVArrivals::ofNames(names, "", ::testing::TempDir());
}

/// What the command gets when the whole list is handed to it.
Strings truth(const Strings& names) {
    std::string list;
    for (const std::string& name : names) {
        list.append(list.empty() ? "" : "\n").append(name);
    }
    return OVPieces(
        OVCapture(R"(xargs -I __FILE__ /usr/bin/printf '%s\0' '__FILE__')", list, ::testing::TempDir()).output, '\0');
}

TEST(TaskNamesTest, PiecesEndWithTheCharacterAndTheLastOneMayLackIt) {
    EXPECT_EQ(OVPieces("", '\n'), Strings());
    EXPECT_EQ(OVPieces("a\n\nb\n", '\n'), (Strings{"a", "", "b"}));
    EXPECT_EQ(OVPieces("a\nb", '\n'), (Strings{"a", "b"}));
}

TEST(TaskNamesTest, CaptureGivesTheInputAndTakesTheOutputAlone) {
    const OVCaptured captured = OVCapture("cat; echo complaint >&2; exit 3", std::string(200000, 'x'), "/tmp");
    EXPECT_EQ(captured.error, 0);
    EXPECT_EQ(captured.output, std::string(200000, 'x'));
    EXPECT_EQ(captured.status, 3 << 8);
    EXPECT_NE(OVCapture("true", "", "/nowhere").error, 0);
}

TEST(TaskNamesTest, PlainNamesArriveWhole) {
    const OVArrivals result = arrivals({"/a", "/b c", "/-d", "/\xC3\xBC", "/*"});
    EXPECT_EQ(result.error, 0);
    EXPECT_EQ(result.kinds, std::vector<Kind>(5, Kind::whole));
    EXPECT_EQ(result.strangers, Strings());
}

TEST(TaskNamesTest, ANewlineMakesTwo) {
    const OVArrivals result = arrivals({"/a", "/b\nc", "/d"});
    EXPECT_EQ(result.kinds, (std::vector<Kind>{Kind::whole, Kind::takenApart, Kind::whole}));
    EXPECT_EQ(result.becomes.at(1), "/b\nc");
    EXPECT_EQ(result.strangers, (Strings{"/b", "c"}));
}

TEST(TaskNamesTest, AQuoteWithoutAnotherEndsTheList) {
    const OVArrivals result = arrivals({"/a", "/it's", "/b", "/c", "/d\ne"});
    EXPECT_EQ(result.kinds, (std::vector<Kind>{Kind::whole, Kind::takenApart, Kind::lost, Kind::lost, Kind::lost}));
    EXPECT_EQ(result.becomes.at(1), "");
}

TEST(TaskNamesTest, ABackslashAtTheEndJoinsTheNextName) {
    const OVArrivals result = arrivals({"/a\\", "/b", "/c", "/d"});
    EXPECT_EQ(result.kinds, (std::vector<Kind>{Kind::takenApart, Kind::takenApart, Kind::whole, Kind::whole}));
    EXPECT_EQ(result.strangers, (Strings{"/a\n/b"}));
}

/// Other systems take apart what this one's leaves alone.
TEST(TaskNamesTest, AsksAboutEveryNameThatSomeSystemTakesApart) {
    const test::Folder folder;
    const std::string program = folder.makeFile("xargs", "#!/bin/sh\ncat > '" + folder.at("asked") + "'\n");
    ASSERT_EQ(::chmod(program.c_str(), 0755), 0);
    for (const std::string& odd :
         {std::string("/two  blanks"), std::string("/trailing "), std::string(" /leading"), std::string("/a\tb"),
          std::string("/it's"), std::string("/a\"b"), std::string("/a\\b"), std::string("/a\nb"),
          "/" + std::string(254, 'l'), std::string("/a\x7F"), std::string("/a\fb")}) {
        OVArrivals::ofNames({"/plain", odd, "/1", "/2", "/3"}, "PATH='" + folder.path + "':$PATH; ", folder.path);
        EXPECT_EQ(test::contentsOf(folder.at("asked")), odd + "\n/1\n/2");
        ::unlink(folder.at("asked").c_str());
    }
    OVArrivals::ofNames({"/plain", "/one blank", std::string("/") + std::string(190, 'l')},
                        "PATH='" + folder.path + "':$PATH; ", folder.path);
    EXPECT_FALSE(test::exists(folder.at("asked")));
}

TEST(TaskNamesTest, RandomListsArriveAsWholeListsDo) {
    const Strings parts = {"/a", " ", "  ", "\t", "b", "c d", "\\", "'", "\"", "\n", std::string(230, 'l'), "\f", "\r"};
    constexpr unsigned first = 1;
    for (unsigned seed = first; seed < first + 150; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const std::size_t kinds = random() % 3 == 0 ? parts.size() : random() % 2 == 0 ? 8 : 6;
        Strings names;
        for (std::size_t count = 1 + random() % 14; count > 0; --count) {
            std::string name = "/folder/" + std::to_string(count);
            for (std::size_t length = random() % 3 == 0 ? 1 + random() % 3 : 0; length > 0; --length) {
                name += parts[random() % kinds];
            }
            names.push_back(name);
        }
        const OVArrivals result = arrivals(names);
        const Strings words = truth(names);
        std::set<std::string> arrived;
        for (std::size_t index = 0; index < names.size(); ++index) {
            EXPECT_EQ(result.kinds[index] == Kind::whole,
                      std::find(words.begin(), words.end(), names[index]) != words.end())
                << index << ": " << names[index];
            if (result.kinds[index] == Kind::whole) {
                arrived.insert(names[index]);
            }
        }
        arrived.insert(result.strangers.begin(), result.strangers.end());
        EXPECT_EQ(arrived, std::set<std::string>(words.begin(), words.end()));
    }
}

} // namespace
} // namespace orvane
