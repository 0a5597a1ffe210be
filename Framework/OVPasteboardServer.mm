#import "Framework/OVPasteboardServer.h"

#import "Platform/Cocoa/CocoaPasteboard.h"
#import "Platform/Cocoa/GNUstepCompatibility.h"

#include "Pasteboard/OVPasteboardServer.h"

namespace cocoa = orvane::cocoa;

namespace {

NSPasteboard* pasteboardOf(orvane::Pasteboard& entry) {
    return static_cast<cocoa::CocoaPasteboard&>(entry).pasteboard();
}

using History = std::shared_ptr<const orvane::OVPasteboardServer::Pasteboards>;

/// The run loop as the core's `init` sees it: its timer has the Objective-C object as target, which it so keeps, and
/// `pollPasteboard:` as selector.
class RunLoopOfServer final : public orvane::RunLoop {
  public:
    explicit RunLoopOfServer(::OVPasteboardServer* server) : server_(server) {}

    bool addRepeatingTimer(double seconds, std::function<void()> /*action*/) override {
        NSTimer* const timer = [NSTimer timerWithTimeInterval:seconds
                                                       target:server_
                                                     selector:@selector(pollPasteboard:)
                                                     userInfo:nil
                                                      repeats:YES];
        for (NSString* mode in cocoa::commonRunLoopModes()) {
            [[NSRunLoop currentRunLoop] addTimer:timer forMode:mode];
        }
        return true;
    }

  private:
    ::OVPasteboardServer* server_;
};

using Core = std::shared_ptr<orvane::OVPasteboardServer>;

orvane::OVPasteboardServer& coreOf(void* core) {
    return **static_cast<Core*>(core);
}

} // namespace

/// An array whose elements are whatever the history holds when it is asked.
@interface OVPasteboardHistory : NSArray {
  @private
    History* history_;
}
- (id)initWithHistory:(const History&)history;
@end

@implementation OVPasteboardHistory

- (id)initWithHistory:(const History&)history {
    if ((self = [super init]) != nil) {
        history_ = new History(history);
    }
    return self;
}

- (void)dealloc {
    delete history_;
    [super dealloc];
}

- (NSUInteger)count {
    return (*history_)->size();
}

- (id)objectAtIndex:(NSUInteger)index {
    if (index >= (*history_)->size()) {
        [NSException raise:NSRangeException
                    format:@"-[OVPasteboardServer pasteboards]: no element at index %lu of %lu",
                           static_cast<unsigned long>(index), static_cast<unsigned long>((*history_)->size())];
    }
    return pasteboardOf(*(**history_)[index]);
}

@end

@implementation OVPasteboardServer

- (id)init {
    if ((self = [super init]) != nil) {
        RunLoopOfServer runLoop(self);
        core_ = new Core(orvane::OVPasteboardServer::create(orvane::PasteboardService::platform(), runLoop));
        pasteboards_ = [[OVPasteboardHistory alloc] initWithHistory:coreOf(core_).pasteboards()];
    }
    return self;
}

- (void)dealloc {
    [pasteboards_ release];
    delete static_cast<Core*>(core_);
    [super dealloc];
}

- (NSArray*)pasteboards {
    return [[pasteboards_ retain] autorelease];
}

- (void)pollPasteboard:(NSTimer*)timer {
    static_cast<void>(timer);
    coreOf(core_).pollPasteboard();
}

- (void)readItemsFromPasteboard {
    coreOf(core_).readItemsFromPasteboard();
}

- (NSPasteboardItem*)pasteboardItemByCopyingPasteboardItem:(NSPasteboardItem*)item {
    const auto original = item != nil ? std::make_shared<cocoa::CocoaPasteboardItem>(item, true)
                                      : std::shared_ptr<cocoa::CocoaPasteboardItem>();
    const auto copy = coreOf(core_).pasteboardItemByCopyingPasteboardItem(original);
    return [[static_cast<cocoa::CocoaPasteboardItem&>(*copy).item() retain] autorelease];
}

- (BOOL)restoreItemsFromPasteboard:(NSPasteboard*)pasteboard {
    return coreOf(core_).restoreItemsFromPasteboard(
               pasteboard != nil ? std::make_shared<cocoa::CocoaPasteboard>(pasteboard) : nullptr)
               ? YES
               : NO;
}

- (void)clearHistory {
    coreOf(core_).clearHistory();
}

@end
