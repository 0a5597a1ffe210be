#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/AppleScript.h"

namespace orvane {

namespace {

using namespace cocoa;

class CocoaAppleScript final : public AppleScript {
  public:
    bool execute(const std::string& source) override {
        return guardedOnMainThread(false, [&] {
            NSAppleScript* script = [[[NSAppleScript alloc] initWithSource:stringOf(source)] autorelease];
            return [script executeAndReturnError:nullptr] != nil;
        });
    }
};

} // namespace

AppleScript& AppleScript::platform() {
    static constinit CocoaAppleScript script;
    return script;
}

} // namespace orvane
