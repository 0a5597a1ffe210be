#include "Platform/SystemLog.h"

#include <syslog.h>

namespace orvane {

namespace {

class PosixSystemLog final : public SystemLog {
  public:
    void write(const char* programName, const char* message) override {
        // The name is given each time: left alone, the C library takes it from argv[0], which the caller
        // chooses.
        openlog(programName, LOG_PID, LOG_USER);
        syslog(LOG_WARNING, "%s", message);
        // Not kept open: a socket left behind would be inherited by the commands that run next.
        closelog();
    }
};

} // namespace

SystemLog& SystemLog::platform() {
    static constinit PosixSystemLog log;
    return log;
}

} // namespace orvane
