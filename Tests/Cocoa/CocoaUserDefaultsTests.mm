#include "Backends/Cocoa/CocoaUserDefaults.h"

#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/UserDefaults.h"
#include "Tests/Cocoa/CocoaTestSupport.h"
#include "Tests/Cocoa/ReplacedMethod.h"
#include "Tests/Fakes/RecordingLog.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>

/// Defaults that hand out the very dictionary that they were given.
@interface OVDomainInMemory : NSUserDefaults {
    NSMutableDictionary* domains_;
}
@end

@implementation OVDomainInMemory
- (id)init {
    if ((self = [super init]) != nil) {
        domains_ = [[NSMutableDictionary alloc] init];
    }
    return self;
}
- (void)dealloc {
    [domains_ release];
    [super dealloc];
}
- (NSDictionary*)persistentDomainForName:(NSString*)name {
    return [domains_ objectForKey:name];
}
- (void)setPersistentDomain:(NSDictionary*)domain forName:(NSString*)name {
    [domains_ setObject:domain forKey:name];
}
@end

namespace orvane::test {

namespace {

using namespace cocoa;

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

TEST(CocoaUserDefaultsTest, AMissingDomainOrKeyIsNothing) {
    const auto defaults = UserDefaultsFactory::platform().create();
    EXPECT_EQ(defaults->objectForKey("key", "com.example.missing"), std::nullopt);
    defaults->setObject(true, "other", "com.example.keys");
    EXPECT_EQ(defaults->objectForKey("key", "com.example.keys"), std::nullopt);
    EXPECT_EQ(defaults->objectForKey("other", "com.example.keys"), PropertyListValue(true));
}

TEST(CocoaUserDefaultsTest, AValueOfEveryKindComesBack) {
    const auto defaults = UserDefaultsFactory::platform().create();
    PropertyListDictionary values = everyKind();
    values.emplace("unsigned", std::numeric_limits<std::uint64_t>::max());
    values.emplace("fraction of a second", PropertyListDate{0.25});
    values.emplace("pair", std::string("\xF0\x9F\x98\x80"));
    PropertyListDictionary read;
    for (const auto& [key, value] : values) {
        defaults->setObject(value, key, "com.example.kinds");
    }
    for (const auto& [key, value] : values) {
        if (const auto found = defaults->objectForKey(key, "com.example.kinds")) {
            read.emplace(key, *found);
        }
    }
    EXPECT_EQ(describe(read), describe(values));
}

TEST(CocoaUserDefaultsTest, ASecondProcessReadsFromDiskWhatWasSynchronized) {
    const auto defaults = UserDefaultsFactory::platform().create();
    for (const auto& [key, value] : everyKind()) {
        defaults->setObject(value, key, "com.example.shared");
    }
    ASSERT_TRUE(defaults->synchronize());

    const Ended ended = runProbe({"read-domain", "com.example.shared"});

    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output, describe(everyKind()));
}

TEST(CocoaUserDefaultsTest, AFreshObjectReadsWhatASecondProcessHasWritten) {
    ASSERT_EQ(runProbe({"write-domain", "com.example.other", "type", "png"}).status, 0);

    EXPECT_EQ(UserDefaultsFactory::platform().create()->objectForKey("type", "com.example.other"),
              PropertyListValue(std::string("png")));
}

TEST(CocoaUserDefaultsTest, AKeyThatIsThereIsReplacedAndTheOthersStay) {
    ASSERT_EQ(runProbe({"write-domain", "com.example.replaced", "kept", "text"}).status, 0);
    ASSERT_EQ(runProbe({"write-domain", "com.example.replaced", "key", "old"}).status, 0);

    const auto defaults = UserDefaultsFactory::platform().create();
    defaults->setObject(false, "key", "com.example.replaced");
    ASSERT_TRUE(defaults->synchronize());

    EXPECT_EQ(runProbe({"read-domain", "com.example.replaced"}).output, "kept = string text\nkey = no\n");
}

TEST(CocoaUserDefaultsTest, ANameAndATextThatAreNotUTF8DoNoHarm) {
    const auto defaults = UserDefaultsFactory::platform().create();

    defaults->setObject(std::string("\xFE"), "\xFF", "com.example.bytes");

    // Each byte stands for a character.
    EXPECT_EQ(defaults->objectForKey("\xC3\xBF", "com.example.bytes"), PropertyListValue(std::string("\xC3\xBE")));
    EXPECT_EQ(defaults->objectForKey("\xFF", "com.example.\xFF"), std::nullopt);
}

/// Another program's objects as only it knows them.
static NSDictionary* oddDomain() {
    NSString* const half = [NSString stringWithFormat:@"a%C", static_cast<unichar>(0xD800)];
    return [NSDictionary dictionaryWithObjectsAndKeys:half, @"odd string", [NSNull null], @"unknown kind",
                                                      [NSNumber numberWithFloat:0.1F], @"32-bit real",
                                                      [NSNumber numberWithChar:1], @"small number",
                                                      [NSNumber numberWithInt:2], half, nil];
}

TEST(CocoaUserDefaultsTest, TheOtherObjectsOfADomainStayTheObjectsTheyAre) {
    OVDomainInMemory* const defaults = [[[OVDomainInMemory alloc] init] autorelease];
    NSDictionary* const before = oddDomain();
    ASSERT_EQ([before count], 5U);
    [defaults setPersistentDomain:before forName:@"com.example.odd"];
    NSNumber* const number = [NSNumber numberWithFloat:0.3F];

    setObjectInDomain(defaults, number, @"new", @"com.example.odd");

    EXPECT_EQ([[defaults persistentDomainForName:@"com.example.odd"] count], [before count] + 1);
    for (NSString* key in before) {
        EXPECT_EQ([[defaults persistentDomainForName:@"com.example.odd"] objectForKey:key], [before objectForKey:key])
            << textOf(key);
    }
    EXPECT_EQ(objectInDomain(defaults, @"new", @"com.example.odd"), number) << "nor does the new one change";
    EXPECT_EQ(objectInDomain(defaults, @"unknown kind", @"com.example.odd"), [NSNull null]);
    EXPECT_EQ([before count], 5U) << "the domain that was read is not changed in place";
}

TEST(CocoaUserDefaultsTest, A32BitRealOfAnotherProgramsStaysOneOnDisk) {
    NSUserDefaults* const theirs = freshUserDefaults();
    [theirs setPersistentDomain:[NSDictionary dictionaryWithObject:[NSNumber numberWithFloat:0.1F] forKey:@"real"]
                        forName:@"com.example.real"];
    ASSERT_TRUE([theirs synchronize]);
    const std::string before = runProbe({"read-domain", "com.example.real"}).output;

    const auto defaults = UserDefaultsFactory::platform().create();
    defaults->setObject(true, "key", "com.example.real");
    ASSERT_TRUE(defaults->synchronize());

    EXPECT_EQ(runProbe({"read-domain", "com.example.real"}).output, "key = yes\n" + before);
}

TEST(CocoaUserDefaultsTest, ADomainThatCannotBeReadIsNotWritten) {
    OVDomainInMemory* const defaults = [[[OVDomainInMemory alloc] init] autorelease];
    [defaults setPersistentDomain:oddDomain() forName:@"com.example.odd"];
    const testing::RecordingLog log;
    {
        const Raising raising([OVDomainInMemory class], @selector(persistentDomainForName:));
        setObjectInDomain(defaults, @"x", @"new", @"com.example.odd");
        EXPECT_EQ(objectInDomain(defaults, @"32-bit real", @"com.example.odd"), nil);
    }
    EXPECT_EQ(log.messages, std::vector<std::string>(2, "OVTestException: raised"));
    EXPECT_TRUE([[defaults persistentDomainForName:@"com.example.odd"] isEqual:oddDomain()]);
}

TEST(CocoaUserDefaultsTest, WhatNoPropertyListHoldsIsLoggedAndNotStored) {
    OVDomainInMemory* const defaults = [[[OVDomainInMemory alloc] init] autorelease];
    const testing::RecordingLog log;
    NSDictionary* const numberAsKey = [NSDictionary dictionaryWithObject:@"x" forKey:[NSDate date]];
    const id objects[] = {nil, [NSNull null], [NSArray arrayWithObject:[NSNull null]],
                          [NSDictionary dictionaryWithObject:[NSNull null] forKey:@"x"]};
    for (id object : objects) {
        setObjectInDomain(defaults, object, @"key", @"com.example.none");
    }
    setObjectInDomain(defaults, numberAsKey, @"key", @"com.example.none");
    EXPECT_EQ([defaults persistentDomainForName:@"com.example.none"], nil);
    ASSERT_EQ(log.messages.size(), 5U);
    EXPECT_EQ(log.messages[0], "No property list holds a nil");
    for (std::size_t index = 1; index < 4; ++index) {
        EXPECT_EQ(log.messages[index], "No property list holds a NSNull");
    }
    EXPECT_EQ(log.messages[4].find("No property list holds a key of the class "), 0U) << log.messages[4];
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
