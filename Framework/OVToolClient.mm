#import <Orvane/OVToolClient.h>

#import "Framework/OVConversions.h"
#import "Framework/OVHeldException.h"

#include "Host/OVToolClient.h"

namespace face = orvane::face;
using Client = orvane::OVToolClient;

namespace {

constexpr NSTimeInterval kPatience = 2;

class Delegate final : public orvane::OVToolClientDelegate {
  public:
    explicit Delegate(id<OVToolClientDelegate> delegate)
        : delegate_(delegate), wantsPrograms_([delegate respondsToSelector:@selector(toolIsRunning:)] != NO) {}

    void toolHasOutputAvailable(std::string_view bytes) override {
        tell([&] { [delegate_ toolHasOutputAvailable:[NSData dataWithBytes:bytes.data() length:bytes.size()]]; });
    }

    bool toolShouldCancel() override {
        return exception.isHeld() || exception.guard(true, [&] { return [delegate_ toolShouldCancel] != NO; });
    }

    void toolIsRunning(std::string_view program) override {
        if (wantsPrograms_) {
            tell([&] { [delegate_ toolIsRunning:face::stringOfPath(std::string(program))]; });
        }
    }

    face::HeldException exception;

  private:
    /// A task may run for hours, and its thread need not have a pool that is emptied meanwhile.
    template <typename Message> void tell(Message message) {
        NSAutoreleasePool* const pool = [[NSAutoreleasePool alloc] init];
        exception.guard(0, [&] {
            message();
            return 0;
        });
        [pool release];
    }

    id<OVToolClientDelegate> delegate_;
    const bool wantsPrograms_;
};

Client& coreOf(void* core) {
    return *static_cast<Client*>(core);
}

} // namespace

@implementation OVToolResult

@synthesize status = status_;
@synthesize waitStatus = waitStatus_;
@synthesize error = error_;
@synthesize cancelled = cancelled_;
@synthesize duration = duration_;
@synthesize leftRunning = leftRunning_;
@synthesize leftRunningNames = leftRunningNames_;

- (id)initWithResult:(const Client::Result&)result {
    if ((self = [super init]) != nil) {
        status_ = result.status;
        waitStatus_ = result.waitStatus;
        error_ = result.error;
        cancelled_ = result.cancelled ? YES : NO;
        duration_ = std::chrono::duration<double>(result.duration).count();
        leftRunning_ = [face::arrayOf(result.leftRunning, [](const orvane::ProcessRecord& process) {
            return [NSNumber numberWithInt:process.processID];
        }) retain];
        leftRunningNames_ = [face::arrayOf(result.leftRunning, [](const orvane::ProcessRecord& process) {
            return face::stringOfPath(process.name);
        }) retain];
    }
    return self;
}

- (void)dealloc {
    [leftRunning_ release];
    [leftRunningNames_ release];
    [super dealloc];
}

@end

@implementation OVToolClient

+ (NSArray*)places {
    return face::stringsOfPaths(Client::places());
}

- (id)init {
    if ((self = [super init]) != nil) {
        core_ = new Client(Client::find());
    }
    return self;
}

- (id)initWithPath:(NSString*)path {
    if ((self = [super init]) != nil) {
        core_ = new Client(face::pathOf(path));
    }
    return self;
}

- (void)dealloc {
    delete static_cast<Client*>(core_);
    [super dealloc];
}

- (NSString*)path {
    return face::stringOfPath(coreOf(core_).path());
}

- (OVToolState)state {
    return [self stateComparedWithPath:nil];
}

- (OVToolState)stateComparedWithPath:(NSString*)newest {
    const auto path = face::ifAny(newest, face::pathOf);
    return static_cast<OVToolState>(coreOf(core_).state(path ? path->c_str() : nullptr));
}

- (NSString*)setUpCommand {
    return face::stringOfPath(coreOf(core_).setUpCommand());
}

- (NSString*)surrenderCommand {
    return face::stringOfPath(coreOf(core_).surrenderCommand());
}

- (int32_t)setUp {
    return coreOf(core_).setUp();
}

- (int32_t)surrender {
    return coreOf(core_).surrender();
}

- (OVToolResult*)runTask:(NSString*)task argument:(NSString*)argument delegate:(id<OVToolClientDelegate>)delegate {
    return [self runTask:task argument:argument delegate:delegate patience:kPatience];
}

- (OVToolResult*)runTask:(NSString*)task
                argument:(NSString*)argument
                delegate:(id<OVToolClientDelegate>)delegate
                patience:(NSTimeInterval)patience {
    Delegate adapter(delegate);
    const auto milliseconds =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<NSTimeInterval>(patience));
    const Client::Result result = coreOf(core_).run(face::textOf(task), face::ifAny(argument, face::textOf),
                                                    delegate != nil ? &adapter : nullptr, milliseconds);
    adapter.exception.raise();
    return [[[OVToolResult alloc] initWithResult:result] autorelease];
}

@end
