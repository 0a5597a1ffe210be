#pragma once

namespace orvane {

/// Waiting (`NSThread`).
class Clock {
  public:
    /// The system's. Lives for ever; may be used from any thread.
    static Clock& platform();

    /// `sleepUntilDate:` with a date that many seconds from now: blocks the calling thread, signals notwithstanding.
    virtual void sleep(double seconds) = 0;

  protected:
    ~Clock() = default;
};

} // namespace orvane
