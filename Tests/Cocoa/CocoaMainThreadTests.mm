#import "Backends/Cocoa/CocoaPasteboard.h"
#import "Tests/Cocoa/ReplacedMethod.h"

#import <AppKit/AppKit.h>

#include "Platform/AlertPanel.h"
#include "Platform/AppleScript.h"
#include "Platform/Workspace.h"

#include <atomic>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace orvane::cocoa::test {

namespace {

/// While it lives the class's method notes on which thread it is called, and raises.
class Noting : ReplacedMethod {
  public:
    Noting(Class owner, SEL selector) : ReplacedMethod(owner, selector, reinterpret_cast<IMP>(note)) {
        onMain_ = 0;
        elsewhere_ = 0;
    }

    static int onMain() { return onMain_; }
    static int elsewhere() { return elsewhere_; }

  private:
    static id note(id /*self*/, SEL /*selector*/) {
        ++([NSThread isMainThread] ? onMain_ : elsewhere_);
        @throw [NSException exceptionWithName:@"OVTestException" reason:@"noted" userInfo:nil];
    }

    inline static std::atomic<int> onMain_ = 0;
    inline static std::atomic<int> elsewhere_ = 0;
};

/// Has another thread do the work while this, the main one, runs its loop in that mode.
void onOtherThread(const std::function<void()>& work, NSString* mode = NSDefaultRunLoopMode) {
    std::atomic<bool> ended{false};
    std::thread other([&] {
        [NSThread currentThread];
        @autoreleasepool {
            work();
        }
        ended = true;
    });
    const NSTimeInterval end = [NSDate timeIntervalSinceReferenceDate] + 20;
    while (!ended && [NSDate timeIntervalSinceReferenceDate] < end) {
        @autoreleasepool {
            [[NSRunLoop currentRunLoop] runMode:mode beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
        }
    }
    if (!ended) {
        GTEST_LOG_(FATAL) << "the main thread and the other one wait for each other"; // which ends the program
    }
    other.join();
}

TEST(CocoaMainThreadTest, WorkOfTheMainThreadIsDoneAtOnce) {
    bool done = false;
    onMainThread([&] { done = [NSThread isMainThread]; });
    EXPECT_TRUE(done);
}

TEST(CocoaMainThreadTest, WorkOfAnotherThreadIsCarriedAndWaitedForInEachCommonMode) {
    for (NSString* mode in @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
        SCOPED_TRACE([mode UTF8String]);
        int answer = 0;
        onOtherThread(
            [&] {
                EXPECT_FALSE([NSThread isMainThread]);
                answer = guardedOnMainThread(1, [] { return [NSThread isMainThread] ? 2 : 3; });
                EXPECT_EQ(answer, 2) << "not waited for, or not carried";
            },
            mode);
        EXPECT_EQ(answer, 2);
    }
}

TEST(CocoaMainThreadTest, AnExceptionOfCarriedWorkEndsThereAndTheAnswerIsTheFailure) {
    onOtherThread([] {
        const auto raise = []() -> int { @throw [NSException exceptionWithName:@"X" reason:@"y" userInfo:nil]; };
        EXPECT_EQ(guardedOnMainThread(7, raise), 7);
        EXPECT_EQ(guardedAnswerOnMainThread(raise), std::nullopt);
    });
}

TEST(CocoaMainThreadTest, CarriedWorkMayCarryMore) {
    onOtherThread([] {
        bool done = false;
        onMainThread([&] { onMainThread([&] { done = true; }); });
        EXPECT_TRUE(done);
    });
}

TEST(CocoaMainThreadTest, WhatAppKitWantsOnTheMainThreadIsDoneThereWhoeverCalls) {
    struct Call {
        Class owner;
        SEL selector;
        std::function<void()> call;
    };
    const auto classOf = [](Class owner) { return object_getClass(owner); };
    NSPasteboard* const own = [NSPasteboard pasteboardWithUniqueName];
    CocoaPasteboard pasteboard(own);
    CocoaPasteboardItem item([[[NSPasteboardItem alloc] init] autorelease], false);
    Workspace& workspace = Workspace::platform();
    PasteboardService& service = PasteboardService::platform();
    const Call calls[] = {
        {classOf([NSApplication class]), @selector(sharedApplication), [] { AlertPanel::platform().run({}); }},
        {[NSAppleScript class], @selector(initWithSource:), [] { AppleScript::platform().execute("x"); }},
        {classOf([NSWorkspace class]), @selector(sharedWorkspace), [&] { workspace.runningApplications(); }},
        {classOf([NSWorkspace class]), @selector(sharedWorkspace), [&] { workspace.launchApplication("/x"); }},
        {classOf([NSWorkspace class]), @selector(sharedWorkspace), [&] { workspace.launchApplicationAtURL("/x", 0); }},
        {classOf([NSWorkspace class]), @selector(sharedWorkspace), [&] { workspace.openFile("/x", "y"); }},
        {classOf([NSPasteboard class]), @selector(generalPasteboard), [&] { service.generalPasteboard(); }},
        {classOf([NSPasteboard class]), @selector(pasteboardWithUniqueName),
         [&] { service.pasteboardWithUniqueName(); }},
        {[NSPasteboard class], @selector(changeCount), [&] { pasteboard.changeCount(); }},
        {[NSPasteboard class], @selector(readObjectsForClasses:options:), [&] { pasteboard.readItems(); }},
        {[NSPasteboard class], @selector(pasteboardItems), [&] { pasteboard.pasteboardItems(); }},
        {[NSPasteboard class], @selector(clearContents), [&] { pasteboard.clearContents(); }},
        {[NSPasteboard class], @selector(writeObjects:), [&] { pasteboard.writeObjects({}); }},
        {[NSPasteboardItem class], @selector(types), [&] { item.types(); }},
        {[NSPasteboardItem class], @selector(dataForType:), [&] { item.dataForType("t"); }},
        {[NSPasteboardItem class],
         @selector(setData:forType:),
         [&] { item.setData(std::make_shared<CocoaPasteboardData>([NSData data]), "t"); }},
    };
    for (const Call& each : calls) {
        SCOPED_TRACE(sel_getName(each.selector));
        const Noting noting(each.owner, each.selector);
        onOtherThread(each.call);
        EXPECT_EQ(Noting::onMain(), 1);
        EXPECT_EQ(Noting::elsewhere(), 0);
    }
}

} // namespace
} // namespace orvane::cocoa::test
