#import "Tests/Framework/FaceTest.h"

#import "Backends/Cocoa/GNUstepCompatibility.h"
#import "Tests/Cocoa/ReplacedMethod.h"

#import <AppKit/AppKit.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <thread>
#include <utility>

/// A host's own pasteboard that cannot be read.
@interface OVRaisingPasteboard : NSObject
@end

@implementation OVRaisingPasteboard
- (NSArray*)pasteboardItems {
    @throw @"an object of the host's";
}
@end

/// A host's own object that is equal to a pasteboard and has its items.
@interface OVEqualPasteboard : NSObject {
  @public
    NSPasteboard* pasteboard;
}
@end

@implementation OVEqualPasteboard
- (NSArray*)pasteboardItems {
    return [pasteboard pasteboardItems];
}
- (BOOL)isEqual:(id)other {
    return other == pasteboard;
}
- (NSUInteger)hash {
    return [pasteboard hash];
}
@end

namespace facetest {

namespace {

void copy(NSString* string) {
    NSPasteboard* const general = [NSPasteboard generalPasteboard];
    [general declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [general setString:string forType:NSStringPboardType];
}

std::string stringOn(NSPasteboard* pasteboard) {
    return text([pasteboard stringForType:NSStringPboardType]);
}

using PasteboardServerFaceTest = FaceTest;

TEST_F(PasteboardServerFaceTest, KeepsALiveHistoryOfTheGeneralPasteboard) {
    copy(@"first");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSArray* const history = [server pasteboards];
    ASSERT_EQ([history count], 1U);
    EXPECT_EQ(stringOn([history objectAtIndex:0]), "first");
    copy(@"second");
    [server pollPasteboard:nil];
    [server pollPasteboard:nil];
    EXPECT_EQ([server pasteboards], history) << "the getter copies";
    ASSERT_EQ([history count], 2U);
    EXPECT_EQ(stringOn([history objectAtIndex:0]), "second");
    EXPECT_EQ(stringOn([history objectAtIndex:1]), "first");
    [server readItemsFromPasteboard];
    EXPECT_EQ([history count], 3U);
    [server clearHistory];
    EXPECT_EQ([history count], 0U);
}

TEST_F(PasteboardServerFaceTest, RestoresAnEntryThroughTheRunner) {
    copy(@"old");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    copy(@"new");
    [server pollPasteboard:nil];
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    [runner setPasteboardServer:server];
    EXPECT_EQ([runner pasteboardServer], server);
    NSPasteboard* const old = [[[[server pasteboards] objectAtIndex:1] retain] autorelease];
    EXPECT_EQ([runner restoreItemsFromPasteboard:old], 0);
    EXPECT_EQ([[server pasteboards] count], 1U);
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "old");
    [server pollPasteboard:nil];
    ASSERT_EQ([[server pasteboards] count], 2U);
    EXPECT_EQ(stringOn([[server pasteboards] objectAtIndex:0]), "old");
    EXPECT_EQ([runner clearPasteboardHistory], 0);
    EXPECT_EQ([[server pasteboards] count], 0U);
    [runner setPasteboardServer:nil];
}

TEST_F(PasteboardServerFaceTest, RestoresAPasteboardThatIsNoneOfTheHistorys) {
    copy(@"kept");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSPasteboard* const other = [NSPasteboard pasteboardWithUniqueName];
    [other declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [other setString:@"from elsewhere" forType:NSStringPboardType];
    EXPECT_TRUE([server restoreItemsFromPasteboard:other]);
    EXPECT_EQ([[server pasteboards] count], 1U);
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "from elsewhere");
}

TEST_F(PasteboardServerFaceTest, IsKeptByItsTimerWhichPolls) {
    copy(@"before");
    OVPasteboardServer* const server = [[OVPasteboardServer alloc] init];
    EXPECT_GE([server retainCount], 2U) << "the timer does not keep its target";
    copy(@"while the run loop runs");
    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:1.0]];
    ASSERT_EQ([[server pasteboards] count], 2U);
    EXPECT_EQ(stringOn([[server pasteboards] objectAtIndex:0]), "while the run loop runs");
    [server release];
}

TEST_F(PasteboardServerFaceTest, CopiesAnItemTypeByType) {
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSPasteboardItem* const item = [[[NSPasteboardItem alloc] init] autorelease];
    NSData* const data = [@"bytes" dataUsingEncoding:NSUTF8StringEncoding];
    EXPECT_TRUE([item setData:data forType:@"com.example.first"]);
    EXPECT_TRUE([item setData:[NSData data] forType:@"com.example.second"]);
    NSPasteboardItem* const copied = [server pasteboardItemByCopyingPasteboardItem:item];
    EXPECT_NE(copied, item);
    EXPECT_TRUE([[copied types] isEqual:[item types]]);
    EXPECT_TRUE([[copied dataForType:@"com.example.first"] isEqual:data]);
}

TEST_F(PasteboardServerFaceTest, AnIndexBehindTheHistoryRaises) {
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    [server clearHistory];
    NSString* name = nil;
    @try {
        static_cast<void>([[server pasteboards] objectAtIndex:0]);
    } @catch (NSException* exception) {
        name = [exception name];
    }
    EXPECT_EQ(text(name), text(NSRangeException));
}

TEST_F(PasteboardServerFaceTest, RestoringNothingEmptiesTheClipboard) {
    copy(@"text");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    [runner setPasteboardServer:server];
    EXPECT_EQ([runner restoreItemsFromPasteboard:nil], 0);
    EXPECT_EQ([[[NSPasteboard generalPasteboard] pasteboardItems] count], 0U);
    EXPECT_EQ([[server pasteboards] count], 1U);
    [runner setPasteboardServer:nil];
}

TEST_F(PasteboardServerFaceTest, PollsInAllCommonModes) {
    for (NSString* mode in orvane::cocoa::commonRunLoopModes()) {
        copy(@"before");
        OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
        for (NSUInteger changes = 1; changes <= 2; ++changes) {
            copy(@"meanwhile");
            NSDate* const end = [NSDate dateWithTimeIntervalSinceNow:10];
            while ([[server pasteboards] count] <= changes && [end timeIntervalSinceNow] > 0) {
                [[NSRunLoop currentRunLoop] runMode:mode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.05]];
            }
            EXPECT_EQ([[server pasteboards] count], changes + 1) << text(mode);
        }
    }
}

// The array.

/// A server with that many entries, the newest the one with the highest number.
OVPasteboardServer* serverWithEntries(int count) {
    copy(@"0");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    for (int number = 1; number < count; ++number) {
        copy([NSString stringWithFormat:@"%i", number]);
        [server pollPasteboard:nil];
    }
    return server;
}

std::string stringsOn(NSArray* pasteboards) {
    std::string all;
    for (NSPasteboard* pasteboard in pasteboards) {
        all += (all.empty() ? "" : " ") + stringOn(pasteboard);
    }
    return all;
}

TEST_F(PasteboardServerFaceTest, ACopyOfTheHistoryIsShallowAndNoLongerChanges) {
    OVPasteboardServer* const server = serverWithEntries(3);
    NSArray* const history = [server pasteboards];
    NSArray* const copied = [[history copy] autorelease];
    NSMutableArray* const changeable = [[history mutableCopy] autorelease];
    NSArray* const made = [NSArray arrayWithArray:history];
    NSPasteboard* const newest = [history objectAtIndex:0];
    EXPECT_TRUE([history isEqual:history]);
    for (NSArray* other : {copied, static_cast<NSArray*>(changeable), made}) {
        EXPECT_NE(other, history);
        EXPECT_EQ([other objectAtIndex:0], newest) << "the same pasteboards";
        EXPECT_TRUE([other isEqual:history]);
        EXPECT_TRUE([history isEqual:other]);
        EXPECT_EQ([other hash], [history hash]);
    }
    [changeable addObject:newest];
    EXPECT_FALSE([history isEqual:changeable]);
    [server clearHistory];
    EXPECT_EQ([history count], 0U);
    EXPECT_EQ(stringsOn(copied), "2 1 0");
    EXPECT_EQ(stringsOn(changeable), "2 1 0 2");
    EXPECT_FALSE([history isEqual:copied]);
    EXPECT_FALSE([copied isEqual:history]);
}

TEST_F(PasteboardServerFaceTest, AnEnumerationHoldsWhatItWalks) {
    for (const bool clears : {true, false}) {
        SCOPED_TRACE(clears);
        OVPasteboardServer* const server = serverWithEntries(10);
        std::string walked;
        @autoreleasepool {
            for (NSPasteboard* pasteboard in [server pasteboards]) {
                if (clears) {
                    [server clearHistory];
                } else if (walked.size() < 10) {
                    @autoreleasepool {
                        EXPECT_TRUE([server restoreItemsFromPasteboard:[[server pasteboards] lastObject]]);
                    }
                }
                walked += stringOn(pasteboard) + " ";
            }
        }
        EXPECT_EQ(walked, "9 8 7 6 5 4 3 2 1 0 ");
        EXPECT_EQ([[server pasteboards] count], clears ? 0U : 5U);
    }
}

TEST_F(PasteboardServerFaceTest, AnEnumeratorHoldsWhatItWalks) {
    OVPasteboardServer* const server = serverWithEntries(3);
    NSEnumerator* const forwards = [[server pasteboards] objectEnumerator];
    NSEnumerator* const backwards = [[server pasteboards] reverseObjectEnumerator];
    EXPECT_EQ(stringOn([forwards nextObject]), "2");
    EXPECT_EQ(stringOn([backwards nextObject]), "0");
    [server clearHistory];
    EXPECT_EQ(stringOn([forwards nextObject]), "1");
    EXPECT_EQ(stringOn([backwards nextObject]), "1");
    EXPECT_EQ(stringOn([forwards nextObject]), "0");
    EXPECT_EQ([forwards nextObject], nil);
}

TEST_F(PasteboardServerFaceTest, AnElementOutlivesItsPlaceInTheHistory) {
    OVPasteboardServer* const server = serverWithEntries(2);
    NSPasteboard* const oldest = [[server pasteboards] objectAtIndex:1];
    @autoreleasepool {
        [server clearHistory];
    }
    EXPECT_EQ(stringOn(oldest), "0");
}

TEST_F(PasteboardServerFaceTest, AnEnumerationIsHandedOutInAnyPortions) {
    OVPasteboardServer* const server = serverWithEntries(5);
    NSArray* const history = [server pasteboards];
    NSFastEnumerationState state = {};
    id places[2] = {nil, nil};
    std::string walked;
    for (NSUInteger given = 2; given == 2;) {
        given = [history countByEnumeratingWithState:&state objects:places count:2];
        for (NSUInteger place = 0; place < given; ++place) {
            walked += stringOn(state.itemsPtr[place]) + " ";
        }
        [server clearHistory];
    }
    EXPECT_EQ(walked, "4 3 2 1 0 ");
    EXPECT_EQ([history countByEnumeratingWithState:&state objects:places count:2], 0U);
}

// The lock.

/// A thread of GNUstep's.
std::thread threadWithPool(const std::function<void()>& work) {
    return std::thread([work] {
        [NSThread currentThread];
        @autoreleasepool {
            work();
        }
    });
}

bool within(std::chrono::milliseconds patience, const std::atomic<bool>& flag) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!flag && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return flag;
}

constexpr std::chrono::milliseconds kNotYet(50);
constexpr std::chrono::seconds kPatience(10);

TEST_F(PasteboardServerFaceTest, AHostThatSynchronizesOnTheServerKeepsTheOperationsOut) {
    OVPasteboardServer* const server = serverWithEntries(3);
    using Operation = std::function<void()>;
    const std::pair<const char*, Operation> operations[] = {
        {"restore", [&] { EXPECT_TRUE([server restoreItemsFromPasteboard:[[server pasteboards] lastObject]]); }},
        {"read", [&] { [server readItemsFromPasteboard]; }},
        {"poll", [&] { [server pollPasteboard:nil]; }},
        {"clear", [&] { [server clearHistory]; }},
    };
    for (const auto& [name, operation] : operations) {
        SCOPED_TRACE(name);
        std::atomic<bool> held{false};
        std::atomic<bool> ended{false};
        std::atomic<bool> letGo{false};
        std::thread host = threadWithPool([&] {
            @synchronized(server) {
                held = true;
                EXPECT_FALSE(within(kNotYet, ended)) << "it did not wait";
                letGo = true;
            }
        });
        ASSERT_TRUE(within(kPatience, held));
        if (name == std::string("poll")) {
            copy(@"polled");
        }
        operation();
        EXPECT_TRUE(letGo);
        ended = true;
        host.join();
    }
    EXPECT_EQ([[server pasteboards] count], 0U);
}

TEST_F(PasteboardServerFaceTest, TheServersMonitorIsRecursive) {
    OVPasteboardServer* const server = serverWithEntries(3);
    @synchronized(server) {
        EXPECT_TRUE([server restoreItemsFromPasteboard:[[server pasteboards] lastObject]]);
        [server pollPasteboard:nil];
        EXPECT_EQ(stringsOn([server pasteboards]), "0 2 1");
        [server clearHistory];
    }
    std::atomic<bool> entered{false};
    std::thread other = threadWithPool([&] {
        @synchronized(server) {
            entered = true;
        }
    });
    EXPECT_TRUE(within(kPatience, entered)) << "not let go";
    other.join();
}

TEST_F(PasteboardServerFaceTest, AnotherThreadReadsTheHistorySynchronizedWhileThisOnePolls) {
    OVPasteboardServer* const server = serverWithEntries(10);
    std::atomic<bool> stop{false};
    std::atomic<int> rounds{0};
    std::thread reader = threadWithPool([&] {
        while (!stop) {
            @autoreleasepool {
                NSArray* copied = nil;
                std::size_t walked = 0;
                @synchronized(server) {
                    copied = [[[server pasteboards] copy] autorelease];
                    EXPECT_TRUE([[server pasteboards] isEqual:copied]);
                    for (NSPasteboard* pasteboard in [server pasteboards]) {
                        walked += [[pasteboard name] length] > 0 ? 1 : 0;
                    }
                }
                EXPECT_EQ(walked, [copied count]);
                for (NSPasteboard* pasteboard in copied) { // also when it has left the history meanwhile
                    EXPECT_GT([[pasteboard name] length], 0U);
                }
                ++rounds;
            }
        }
    });
    for (int round = 0; round < 60 || (rounds < 20 && round < 100000); ++round) {
        @autoreleasepool {
            copy([NSString stringWithFormat:@"%i", round]);
            [server pollPasteboard:nil];
            if (round % 15 == 14) {
                [server clearHistory];
            }
        }
    }
    stop = true;
    reader.join();
    EXPECT_GE(rounds, 20);
}

// Were the pasteboard's calls carried to the main thread with the lock held, this would end in two threads that wait
// for each other.
TEST_F(PasteboardServerFaceTest, AnotherThreadReadsPollsAndRestoresWhileTheMainThreadPollsInItsRunLoop) {
    OVPasteboardServer* const server = serverWithEntries(10);
    std::atomic<bool> ended{false};
    std::thread other = threadWithPool([&] {
        for (int round = 0; round < 40; ++round) {
            @autoreleasepool {
                [server readItemsFromPasteboard];
                [server pollPasteboard:nil];
                NSArray* entries = nil;
                @synchronized(server) {
                    entries = [[[server pasteboards] copy] autorelease];
                }
                EXPECT_TRUE([server restoreItemsFromPasteboard:[entries lastObject]]);
            }
        }
        ended = true;
    });
    const auto end = std::chrono::steady_clock::now() + kPatience * 6;
    while (!ended) {
        @autoreleasepool {
            copy(@"from the main thread");
            [server pollPasteboard:nil];
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                     beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.002]];
        }
        if (std::chrono::steady_clock::now() > end) {
            GTEST_LOG_(FATAL) << "the threads wait for each other"; // which ends the program
        }
    }
    other.join();
    EXPECT_EQ([[server pasteboards] count], 10U);
}

// Exceptions.

TEST_F(PasteboardServerFaceTest, AReadingThatRaisesLeavesHistoryAndLockAndIsDoneAgain) {
    OVPasteboardServer* const server = serverWithEntries(10);
    const std::string before = stringsOn([server pasteboards]);
    copy(@"new");
    for (SEL selector :
         { @selector(readObjectsForClasses:options:), @selector(changeCount), @selector(dataForType:) }) {
        SCOPED_TRACE(sel_getName(selector));
        {
            const Raising raising([NSPasteboard class], selector);
            [server pollPasteboard:nil];
            [server readItemsFromPasteboard];
        }
        EXPECT_EQ(stringsOn([server pasteboards]), before);
    }
    std::atomic<bool> entered{false};
    std::thread other = threadWithPool([&] {
        @synchronized(server) {
            entered = true;
        }
    });
    EXPECT_TRUE(within(kPatience, entered)) << "the lock is not let go";
    other.join();
    [server pollPasteboard:nil];
    EXPECT_EQ(stringsOn([server pasteboards]), "new 9 8 7 6 5 4 3 2 1");
}

TEST_F(PasteboardServerFaceTest, AFirstReadingThatRaisesIsMadeUpForByTheFirstPoll) {
    copy(@"text");
    OVPasteboardServer* server = nil;
    {
        const Raising raising([NSPasteboard class], @selector(readObjectsForClasses:options:));
        server = [[[OVPasteboardServer alloc] init] autorelease];
        ASSERT_NE(server, nil);
        EXPECT_EQ([[server pasteboards] count], 0U);
    }
    [server pollPasteboard:nil];
    [server pollPasteboard:nil];
    EXPECT_EQ(stringsOn([server pasteboards]), "text");
}

TEST_F(PasteboardServerFaceTest, AnEntryWhoseReadingRaisesStaysAndSoDoesTheClipboard) {
    OVPasteboardServer* const server = serverWithEntries(2);
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    [runner setPasteboardServer:server];
    {
        const Raising raising([NSPasteboard class], @selector(dataForType:));
        EXPECT_EQ([runner restoreItemsFromPasteboard:[[server pasteboards] lastObject]], 1);
    }
    NSPasteboard* const own = static_cast<NSPasteboard*>([[[OVRaisingPasteboard alloc] init] autorelease]);
    EXPECT_EQ([runner restoreItemsFromPasteboard:own], 1);
    EXPECT_EQ(stringsOn([server pasteboards]), "1 0");
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "1");
    [runner setPasteboardServer:nil];
}

TEST_F(PasteboardServerFaceTest, AnItemThatRaisesHasNoCopy) {
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSPasteboardItem* const item = [[[NSPasteboardItem alloc] init] autorelease];
    EXPECT_TRUE([item setData:[NSData data] forType:@"com.example.type"]);
    for (SEL selector : { @selector(types), @selector(dataForType:) }) {
        const Raising raising([NSPasteboardItem class], selector);
        EXPECT_EQ([server pasteboardItemByCopyingPasteboardItem:item], nil) << sel_getName(selector);
    }
    EXPECT_EQ([[[server pasteboardItemByCopyingPasteboardItem:item] types] count], 1U);
    EXPECT_EQ([[[server pasteboardItemByCopyingPasteboardItem:nil] types] count], 0U);
}

TEST_F(PasteboardServerFaceTest, AnotherObjectThatIsEqualTakesTheEntryOut) {
    OVPasteboardServer* const server = serverWithEntries(3);
    OVEqualPasteboard* const other = [[[OVEqualPasteboard alloc] init] autorelease];
    other->pasteboard = [[server pasteboards] objectAtIndex:1];
    EXPECT_TRUE([server restoreItemsFromPasteboard:static_cast<NSPasteboard*>(other)]);
    EXPECT_EQ(stringsOn([server pasteboards]), "2 0");
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "1");
}

} // namespace

} // namespace facetest
