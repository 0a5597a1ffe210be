#pragma once

#include <string>

namespace orvane {

/// Running an AppleScript (`NSAppleScript`).
class AppleScript {
  public:
    /// The scripting of the system that the process runs on, by the program `osascript` where one is on the search
    /// path; without it every script fails. Lives for ever; may be used from any thread.
    static AppleScript& platform();

    /// `executeAndReturnError:` without an error dictionary: compiles and runs the source, and waits for its
    /// end. False when it did not compile or did not run to its end; nothing is logged or printed.
    virtual bool execute(const std::string& source) = 0;

  protected:
    ~AppleScript() = default;
};

} // namespace orvane
