#pragma once

namespace orvane {

/// The system log (`syslog`).
class SystemLog {
  public:
    /// The log of the system that the process runs on. Lives for ever; may be used from any thread.
    static SystemLog& platform();

    /// Adds one message under the program's name. Nothing is reported when the system keeps no log.
    virtual void write(const char* programName, const char* message) = 0;

  protected:
    ~SystemLog() = default;
};

} // namespace orvane
