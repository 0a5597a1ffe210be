#import <AppKit/AppKit.h>

#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>

namespace {

/// What a test leaves to the pool goes before the next one.
class PoolForEachTest final : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo& /*test*/) override { pool_ = [[NSAutoreleasePool alloc] init]; }
    void OnTestEnd(const testing::TestInfo& /*test*/) override { [pool_ release]; }

    NSAutoreleasePool* pool_ = nil;
};

// The framework's own handler would ask the user, and wait for an answer.
void stopOnException(NSException* exception) {
    std::fprintf(stderr, "uncaught exception: %s\n", [[exception description] UTF8String]);
    std::abort();
}

} // namespace

int main(int argc, char** argv) {
    @autoreleasepool {
        testing::InitGoogleTest(&argc, argv);
        testing::UnitTest::GetInstance()->listeners().Append(new PoolForEachTest);
        [NSApplication sharedApplication];
        [NSApp finishLaunching];
        NSSetUncaughtExceptionHandler(stopOnException);
        return RUN_ALL_TESTS();
    }
}
