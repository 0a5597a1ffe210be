#include "Platform/RunLoop.h"
#include "Support/OVLog.h"

namespace orvane {

namespace {

class HeadlessRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double seconds, std::function<void()> /*action*/) override {
        OVLog("There is no run loop: a timer of %g seconds will never fire", seconds);
        return false;
    }
};

} // namespace

RunLoop& RunLoop::current() {
    static constinit HeadlessRunLoop runLoop;
    return runLoop;
}

} // namespace orvane
