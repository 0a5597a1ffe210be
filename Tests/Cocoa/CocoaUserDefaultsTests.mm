#include "Platform/Cocoa/CocoaPropertyList.h"
#include "Platform/UserDefaults.h"
#include "Tests/Cocoa/CocoaTestSupport.h"
#include "Tests/Fakes/RecordingLog.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

namespace orvane::test {

namespace {

/// One of each kind, as far as every file format of a defaults domain keeps it.
PropertyListDictionary everyKind() {
    return {
        {"yes", true},
        {"no", false},
        {"one", std::int64_t{1}},
        {"zero", std::int64_t{0}},
        {"least", std::numeric_limits<std::int64_t>::min()},
        {"most", std::numeric_limits<std::int64_t>::max()},
        {"third", 1.0 / 3},
        {"whole real", 2.0},
        {"large real", 1e300},
        {"text", std::string("gr\xC3\xBCn \"quoted\" \\ <&> \n\t end")},
        {"empty text", std::string()},
        {"number as text", std::string("1")},
        {"data", PropertyListData{0, 255, 1}},
        {"empty data", PropertyListData{}},
        {"date", PropertyListDate{123456789}},
        {"early date", PropertyListDate{-123456789}},
        {"array", PropertyListArray{std::string("a"), true, std::int64_t{1}, PropertyListArray{}}},
        {"dictionary", PropertyListDictionary{{"key of gr\xC3\xBCn", PropertyListDictionary{{"deep", false}}},
                                              {"empty", PropertyListDictionary{}}}},
    };
}

} // namespace

TEST(CocoaUserDefaultsTest, AMissingDomainIsNothing) {
    EXPECT_EQ(UserDefaultsFactory::platform().create()->persistentDomainForName("com.example.missing"), std::nullopt);
}

TEST(CocoaUserDefaultsTest, AWholeDomainComesBackOfEveryKind) {
    const auto defaults = UserDefaultsFactory::platform().create();
    PropertyListDictionary domain = everyKind();
    domain.emplace("unsigned", std::numeric_limits<std::uint64_t>::max());
    domain.emplace("fraction of a second", PropertyListDate{0.25});
    domain.emplace("pair", std::string("\xF0\x9F\x98\x80"));

    defaults->setPersistentDomain(domain, "com.example.kinds");
    const auto read = defaults->persistentDomainForName("com.example.kinds");

    ASSERT_TRUE(read.has_value());
    EXPECT_EQ(describe(*read), describe(domain));
}

TEST(CocoaUserDefaultsTest, ASecondProcessReadsFromDiskWhatWasSynchronized) {
    const auto defaults = UserDefaultsFactory::platform().create();
    defaults->setPersistentDomain(everyKind(), "com.example.shared");
    ASSERT_TRUE(defaults->synchronize());

    const Ended ended = runProbe({"read-domain", "com.example.shared"});

    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output, describe(everyKind()));
}

TEST(CocoaUserDefaultsTest, AFreshObjectReadsWhatASecondProcessHasWritten) {
    ASSERT_EQ(runProbe({"write-domain", "com.example.other", "type", "png"}).status, 0);

    const auto domain = UserDefaultsFactory::platform().create()->persistentDomainForName("com.example.other");

    EXPECT_EQ(domain, PropertyListDictionary({{"type", std::string("png")}}));
}

TEST(CocoaUserDefaultsTest, ADomainThatIsThereIsReplacedWhole) {
    const auto defaults = UserDefaultsFactory::platform().create();
    defaults->setPersistentDomain({{"old", true}}, "com.example.replaced");
    ASSERT_TRUE(defaults->synchronize());

    defaults->setPersistentDomain({{"new", false}}, "com.example.replaced");
    ASSERT_TRUE(defaults->synchronize());

    EXPECT_EQ(runProbe({"read-domain", "com.example.replaced"}).output, "new = no\n");
}

TEST(CocoaUserDefaultsTest, ANameAndATextThatAreNotUTF8DoNoHarm) {
    const auto defaults = UserDefaultsFactory::platform().create();

    defaults->setPersistentDomain({{"\xFF", std::string("\xFE")}}, "com.example.bytes");

    // Each byte stands for a character.
    EXPECT_EQ(defaults->persistentDomainForName("com.example.bytes"),
              PropertyListDictionary({{"\xC3\xBF", std::string("\xC3\xBE")}}));
    EXPECT_EQ(defaults->persistentDomainForName("com.example.\xFF"), std::nullopt);
}

TEST(CocoaPropertyListTest, BooleansAndNumbersStayApart) {
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithBool:YES]), PropertyListValue(true));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithBool:NO]), PropertyListValue(false));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithInt:1]), PropertyListValue(std::int64_t{1}));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithChar:1]), PropertyListValue(std::int64_t{1}));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithFloat:0.5F]), PropertyListValue(0.5));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithUnsignedLongLong:5]), PropertyListValue(std::int64_t{5}));
    EXPECT_EQ(cocoa::valueOf([NSNumber numberWithUnsignedLongLong:1ULL << 63U]),
              PropertyListValue(std::uint64_t{1} << 63U));
}

TEST(CocoaPropertyListTest, AnObjectThatNoPropertyListHoldsIsLoggedAndLeftOut) {
    const testing::RecordingLog log;

    const PropertyListDictionary values = cocoa::valuesOf(
        [NSDictionary dictionaryWithObjectsAndKeys:[NSNull null], @"null", [NSNumber numberWithBool:YES], @"yes", nil]);

    EXPECT_EQ(values, PropertyListDictionary({{"yes", true}}));
    EXPECT_EQ(log.messages, std::vector<std::string>{"No property list holds a NSNull"});
}

} // namespace orvane::test
