#pragma once

#import <Orvane/Orvane.h>

#include <gtest/gtest.h>
#include <string>

namespace facetest {

/// A test of the face, with an autorelease pool around it.
class FaceTest : public testing::Test {
  protected:
    FaceTest() : pool_([[NSAutoreleasePool alloc] init]) {}
    FaceTest(const FaceTest&) = delete;
    FaceTest& operator=(const FaceTest&) = delete;
    ~FaceTest() override { [pool_ release]; }

    /// Releases what was autoreleased so far.
    void drain() {
        [pool_ release];
        pool_ = [[NSAutoreleasePool alloc] init];
    }

  private:
    NSAutoreleasePool* pool_;
};

/// The name of the exception that the work raises.
template <typename Work> std::string nameRaisedBy(Work work) {
    @try {
        work();
    } @catch (NSException* exception) {
        return [[exception name] UTF8String];
    }
    return "nothing";
}

inline std::string text(NSString* string) {
    return string != nil ? [string UTF8String] : "(nil)";
}

} // namespace facetest

/// An owner whose answers a test sets and whose messages it reads.
@interface OVTestOwner : NSObject <OVTaskDelegate> {
  @public
    NSMutableString* output;
    int questions;
    BOOL cancels;
    NSString* raises; ///< the method in which it raises
    NSString* archive;
    uint64_t size;
    NSArray* chosen;
    BOOL askedForDirectoriesOnly;
    BOOL askedForMultipleSelection;
}
@end

namespace facetest {

/// A test of a runner with an owner.
class TaskRunnerFaceTest : public FaceTest {
  protected:
    TaskRunnerFaceTest() : runner([[OVTaskRunner alloc] init]), owner([[OVTestOwner alloc] init]) {
        [runner setDelegate:owner];
    }
    ~TaskRunnerFaceTest() override {
        [runner setDelegate:nil];
        [runner release];
        [owner release];
    }

    OVTaskRunner* runner;
    OVTestOwner* owner;
};

} // namespace facetest
