#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/RunLoop.h"

/// The target of one timer, which keeps it.
@interface OVTimerAction : NSObject {
    std::function<void()>* action_;
}
- (id)initWithAction:(std::function<void()>)action;
- (void)timerFired:(NSTimer*)timer;
@end

@implementation OVTimerAction

- (id)initWithAction:(std::function<void()>)action {
    self = [super init];
    if (self != nil) {
        action_ = new std::function<void()>(std::move(action));
    }
    return self;
}

- (void)dealloc {
    delete action_;
    [super dealloc];
}

- (void)timerFired:(NSTimer*)timer {
    (void)timer;
    @autoreleasepool {
        (*action_)();
    }
}

@end

namespace orvane {

namespace {

class CocoaRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double seconds, std::function<void()> action) override {
        return cocoa::guarded(false, [&] {
            OVTimerAction* target = [[[OVTimerAction alloc] initWithAction:std::move(action)] autorelease];
            cocoa::addRepeatingTimer(seconds, target, @selector(timerFired:));
            return true;
        });
    }
};

} // namespace

RunLoop& RunLoop::current() {
    static constinit CocoaRunLoop runLoop;
    return runLoop;
}

} // namespace orvane
