#import <Orvane/OVShellCommand.h>

#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"

#include "Tasks/OVShellCommand.h"

const NSInteger OVShellCommandSuccess = 0;
const NSInteger OVShellCommandCancelled = -9998;
const NSInteger OVShellCommandCancelFailed = -9999;

namespace face = orvane::face;

namespace {

class Delegate final : public orvane::OVShellCommandDelegate {
  public:
    explicit Delegate(id<OVShellCommandDelegate> delegate) : delegate_(delegate) {}

    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override {
        exception.guard(0, [&] {
            [delegate_ shellCommandHasOutputAvailable:face::ifAny(chunk, face::stringOf)];
            return 0;
        });
    }

    bool shellCommandShouldCancel() override {
        return exception.isHeld() || exception.guard(true, [&] { return [delegate_ shellCommandShouldCancel] != NO; });
    }

    face::HeldException exception;

  private:
    id<OVShellCommandDelegate> delegate_;
};

orvane::OVShellCommand& coreOf(void* core) {
    return *static_cast<orvane::OVShellCommand*>(core);
}

} // namespace

@implementation OVShellCommand

- (id)init {
    if ((self = [super init]) != nil) {
        core_ = new orvane::OVShellCommand;
    }
    return self;
}

- (void)dealloc {
    delete static_cast<orvane::OVShellCommand*>(core_);
    [super dealloc];
}

- (int32_t)processID {
    return coreOf(core_).processID();
}

- (NSInteger)runCommandAtPath:(NSString*)path
                    arguments:(NSArray*)arguments
                     delegate:(id<OVShellCommandDelegate>)delegate {
    Delegate adapter(delegate);
    const NSInteger result = coreOf(core_).runCommandAtPath(face::textOf(path), face::textsOf(arguments), &adapter);
    adapter.exception.raise();
    return result;
}

- (int32_t)forkAndExecCommandAtPath:(NSString*)path
                          arguments:(NSArray*)arguments
                  outFileDescriptor:(int32_t*)outFileDescriptor {
    return coreOf(core_).forkAndExecCommandAtPath(face::textOf(path), face::textsOf(arguments), outFileDescriptor);
}

@end
