#pragma once

#include <functional>

namespace orvane {

/// The calling thread's run loop (`NSRunLoop`'s `currentRunLoop`).
class RunLoop {
  public:
    /// Stands for the run loop of whichever thread calls. Lives for ever; may be used from any thread.
    static RunLoop& current();

    /// Adds a timer (`timerWithTimeInterval:target:selector:userInfo:repeats:`) in the common modes
    /// (`NSRunLoopCommonModes`), so that it fires while menus are tracked, too. It fires on this thread, every
    /// `seconds`, for as long as the run loop runs; the run loop owns it and with it the action. False, with a log
    /// line, where there is no run loop: nothing will ever fire.
    virtual bool addRepeatingTimer(double seconds, std::function<void()> action) = 0;

  protected:
    ~RunLoop() = default;
};

} // namespace orvane
