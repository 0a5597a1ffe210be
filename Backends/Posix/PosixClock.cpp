#include "Platform/Clock.h"

#include <cerrno>
#include <cmath>
#include <ctime>

namespace orvane {

namespace {

class PosixClock final : public Clock {
  public:
    void sleep(double seconds) override {
        if (!(seconds > 0)) {
            return;
        }
        double whole = 0;
        const double fraction = std::modf(seconds, &whole);
        timespec left = {};
        left.tv_sec = static_cast<time_t>(whole);
        left.tv_nsec = static_cast<long>(fraction * 1e9);
        while (::nanosleep(&left, &left) != 0 && errno == EINTR) {
        }
    }
};

} // namespace

Clock& Clock::platform() {
    static constinit PosixClock clock;
    return clock;
}

} // namespace orvane
