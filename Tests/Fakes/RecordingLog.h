#pragma once

#include "Support/OVLog.h"

#include <string>
#include <vector>

namespace orvane::testing {

/// Collects the messages logged while it lives, in place of standard error and the system log.
class RecordingLog final : public OVLogSink {
  public:
    RecordingLog() : previous_(OVSetLogSink(this)) {}
    ~RecordingLog() { OVSetLogSink(previous_); }
    RecordingLog(const RecordingLog&) = delete;
    RecordingLog& operator=(const RecordingLog&) = delete;

    void logMessage(const char* message) override { messages.emplace_back(message); }

    std::vector<std::string> messages;

  private:
    OVLogSink* previous_;
};

} // namespace orvane::testing
