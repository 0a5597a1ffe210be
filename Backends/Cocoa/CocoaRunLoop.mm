#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/RunLoop.h"

/// The target of one timer, which keeps it.
@interface OVTimerAction : NSObject {
  @public
    std::function<void()>* action_;
}
@end

@implementation OVTimerAction

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
            OVTimerAction* target = [[[OVTimerAction alloc] init] autorelease];
            target->action_ = new std::function<void()>(std::move(action));
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
