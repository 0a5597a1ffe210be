#include "Platform/RunLoop.h"

#include "Tests/Cocoa/CocoaTestSupport.h"

#import <AppKit/AppKit.h>

#include <gtest/gtest.h>
#include <memory>

/// Runs a run loop of its own, with a timer in it.
@interface OVThreadWithRunLoop : NSThread {
  @public
    int fired;
    bool added;
    bool firedHere;
}
@end

@implementation OVThreadWithRunLoop
- (void)main {
    @autoreleasepool {
        added = orvane::RunLoop::current().addRepeatingTimer(0.01, [self] {
            firedHere = [NSThread currentThread] == self;
            ++fired;
        });
        NSDate* limit = [NSDate dateWithTimeIntervalSinceNow:10];
        while (fired<3 && [limit timeIntervalSinceNow]> 0) {
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode beforeDate:limit];
        }
    }
}
@end

namespace orvane::test {

namespace {

int firesInMode(NSString* mode) {
    const auto fired = std::make_shared<int>(0);
    EXPECT_TRUE(RunLoop::current().addRepeatingTimer(0.01, [fired] { ++*fired; }));
    NSDate* limit = [NSDate dateWithTimeIntervalSinceNow:10];
    while (*fired<3 && [limit timeIntervalSinceNow]> 0) {
        [[NSRunLoop currentRunLoop] runMode:mode beforeDate:limit];
    }
    return *fired;
}

} // namespace

TEST(CocoaRunLoopTest, ATimerFiresAgainAndAgain) {
    EXPECT_GE(firesInMode(NSDefaultRunLoopMode), 3);
}

TEST(CocoaRunLoopTest, ATimerFiresWhileMenusAreTracked) {
    EXPECT_GE(firesInMode(NSEventTrackingRunLoopMode), 3);
}

TEST(CocoaRunLoopTest, ATimerFiresWhileAPanelIsModal) {
    EXPECT_GE(firesInMode(NSModalPanelRunLoopMode), 3);
}

TEST(CocoaRunLoopTest, ATimerDoesNotFireBeforeItsTime) {
    const auto fired = std::make_shared<int>(0);
    ASSERT_TRUE(RunLoop::current().addRepeatingTimer(3600, [fired] { ++*fired; }));

    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:0.1]];

    EXPECT_EQ(*fired, 0);
}

TEST(CocoaRunLoopTest, TheRunLoopHoldsTheAction) {
    auto fired = std::make_shared<int>(0);
    const std::weak_ptr<int> watched = fired;
    ASSERT_TRUE(RunLoop::current().addRepeatingTimer(0.01, [fired] { ++*fired; }));
    fired.reset();

    EXPECT_TRUE(runLoopUntil([&] { return !watched.expired() && *watched.lock() >= 2; }));
    EXPECT_FALSE(watched.expired());
}

TEST(CocoaRunLoopTest, EachThreadHasItsOwn) {
    OVThreadWithRunLoop* thread = [[[OVThreadWithRunLoop alloc] init] autorelease];

    [thread start];
    while (![thread isFinished]) {
        [NSThread sleepForTimeInterval:0.01];
    }

    EXPECT_TRUE(thread->added);
    EXPECT_TRUE(thread->firedHere);
    EXPECT_GE(thread->fired, 3);
}

} // namespace orvane::test
