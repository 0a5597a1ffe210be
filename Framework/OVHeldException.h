#pragma once

#import "Backends/Cocoa/CocoaSupport.h"

namespace orvane::face {

/// An Objective-C exception of a delegate must not unwind the core, which would leave a child behind. The first is held
/// until the core has returned; meanwhile the core is told to cancel.
class HeldException {
  public:
    HeldException() = default;
    HeldException(const HeldException&) = delete;
    HeldException& operator=(const HeldException&) = delete;
    ~HeldException() { [exception_ release]; }

    [[nodiscard]] bool isHeld() const { return exception_ != nil; }

    /// Calls the delegate; what it raises is held, and `fallback` is the answer.
    template <typename Result, typename Call> Result guard(Result fallback, Call call) {
        return cocoa::guarded(fallback, call, [this](id exception) {
            if (!isHeld()) {
                exception_ = [exception retain];
            }
        });
    }

    /// Raises what is held, outside the core.
    void raise() {
        if (id const exception = exception_) {
            exception_ = nil;
            @throw [exception autorelease];
        }
    }

  private:
    id exception_ = nil;
};

} // namespace orvane::face
