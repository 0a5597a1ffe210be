#pragma once

#include "Tests/TaskRunnerTestSupport.h"

namespace orvane::test {

/// A runner and its owner in a recording world, in which every signal is an event and none is sent.
class RecordedRunner : public ::testing::Test, public RecordingWorld {
  protected:
    RecordedRunner() {
        runner.setDelegate(unowned<OVTaskDelegate>(owner));
        calls.sendSignal = [this](pid_t processID, int signal) {
            events.push_back("kill " + std::to_string(processID) + " with " + std::to_string(signal));
            errno = ESRCH;
            return signalResult;
        };
    }

    /// The recording services but for those that only an application has: these are the platform's own.
    [[nodiscard]] OVTaskRunnerServices headlessServices() {
        return {.calls = calls,
                .volumes = volumes,
                .appleScript = appleScript,
                .processInfo = processInfo,
                .commands = commands};
    }

    int signalResult = 0;
    RecordingDelegate owner;
    OVTaskRunner runner{services()};
};

} // namespace orvane::test
