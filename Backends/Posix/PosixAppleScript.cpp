#include "Backends/Posix/Osascript.h"
#include "Platform/AppleScript.h"

namespace orvane {

namespace {

class PosixAppleScript final : public AppleScript {
  public:
    bool execute(const std::string& source) override { return runOsascript(source); }
};

} // namespace

AppleScript& AppleScript::platform() {
    static constinit PosixAppleScript script;
    return script;
}

} // namespace orvane
