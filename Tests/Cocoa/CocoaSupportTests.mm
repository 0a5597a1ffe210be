#include "Backends/Cocoa/CocoaSupport.h"

#include "Tests/Fakes/RecordingLog.h"

#include <gtest/gtest.h>

/// Halves of pairs amid a text, of which GNUstep makes no string.
@interface OVHalves : NSString
@end

@implementation OVHalves
- (NSUInteger)length {
    return 6;
}
- (unichar)characterAtIndex:(NSUInteger)index {
    const unichar units[] = {'a', 0xD83D, 'z', 0xD83D, 0xD83D, 0xDE00};
    return units[index];
}
@end

/// Counts those that are gone; the first leaves another to a pool as it goes.
@interface OVLeaving : NSObject {
  @public
    int* gone_;
    BOOL leavesAnother_;
}
@end

@implementation OVLeaving
- (void)dealloc {
    ++*gone_;
    if (leavesAnother_) {
        OVLeaving* const another = [[[OVLeaving alloc] init] autorelease];
        another->gone_ = gone_;
    }
    [super dealloc];
}
@end

namespace orvane::test {

using namespace cocoa;

TEST(CocoaSupportTest, TextGoesBothWaysAsUTF8) {
    const std::string text("gr\xC3\xBCn \xF0\x9F\x98\x80 \0 end", 15);

    EXPECT_EQ(textOf(stringOf(text)), text);
    EXPECT_EQ([stringOf("gr\xC3\xBCn") length], 4U);
}

TEST(CocoaSupportTest, TextThatIsNotUTF8IsAStringWithACharacterForEachByte) {
    NSString* string = stringOf("a\xFF\xFE");

    ASSERT_NE(string, nil);
    EXPECT_EQ([string length], 3U);
    EXPECT_EQ([string characterAtIndex:1], 0xFF);
}

TEST(CocoaSupportTest, APathThatIsNotUTF8IsAString) {
    NSString* string = stringOfPath("/some/\xFF\xFE");

    ASSERT_NE(string, nil);
    EXPECT_TRUE([string hasPrefix:@"/some/"]);
    EXPECT_TRUE([stringOfPath("/some/gr\xC3\xBCn") isEqual:stringOf("/some/gr\xC3\xBCn")]);
}

TEST(CocoaSupportTest, HalfAPairIsReplacedAndLosesNothingElse) {
    NSString* pair = stringOf("a\xF0\x9F\x98\x80z");

    EXPECT_EQ(textOf([pair substringToIndex:2]), "a\xEF\xBF\xBD");
    EXPECT_EQ(textOf([pair substringFromIndex:2]), "\xEF\xBF\xBDz");
    EXPECT_EQ(textOf([[[OVHalves alloc] init] autorelease]), "a\xEF\xBF\xBDz\xEF\xBF\xBD\xF0\x9F\x98\x80");
}

TEST(CocoaSupportTest, CharactersOfEachLengthGoBothWays) {
    const std::string text = "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF";

    EXPECT_EQ(textOf(stringOf(text)), text);
}

TEST(CocoaSupportTest, NilIsNoText) {
    EXPECT_EQ(textOf(nil), "");
    EXPECT_EQ(optionalTextOf(nil), std::nullopt);
    EXPECT_EQ(optionalTextOf(@""), "");
}

TEST(CocoaSupportTest, AnExceptionEndsAtTheEdgeAsTheFailureWithALogLine) {
    const testing::RecordingLog log;

    const int answer = guarded(7, []() -> int {
        [NSException raise:NSInvalidArgumentException format:@"no %@", @"more"];
        return 1;
    });

    EXPECT_EQ(answer, 7);
    EXPECT_EQ(log.messages, std::vector<std::string>{"NSInvalidArgumentException: no more"});
}

TEST(CocoaSupportTest, AnExceptionRunsTheDestructorsOnItsWay) {
    const testing::RecordingLog log;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;

    guarded(0, [&]() -> int {
        const std::shared_ptr<int> mine = std::move(held);
        [NSException raise:NSGenericException format:@"on purpose"];
        return *mine;
    });

    EXPECT_TRUE(watched.expired());
}

TEST(CocoaSupportTest, OneReferenceIsHeldAndLetGo) {
    NSObject* object = [[NSObject alloc] init];
    {
        const Retained<NSObject> retained(object);
        EXPECT_EQ([object retainCount], 2U);
    }
    EXPECT_EQ([object retainCount], 1U);
    [object release];
}

TEST(CocoaSupportTest, WhatAnObjectLeavesToAPoolAsItGoesIsGoneWithIt) {
    int gone = 0;
    OVLeaving* object = [[OVLeaving alloc] init];
    object->gone_ = &gone;
    object->leavesAnother_ = YES;
    {
        const Retained<OVLeaving> retained(object);
        [object release];
        EXPECT_EQ(gone, 0);
    }
    EXPECT_EQ(gone, 2);
}

} // namespace orvane::test
