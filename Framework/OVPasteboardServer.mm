#import <Orvane/OVPasteboardServer.h>

#import "Backends/Cocoa/CocoaPasteboard.h"

#include "Pasteboard/OVPasteboardServer.h"

#include <objc/objc-sync.h>

namespace cocoa = orvane::cocoa;

namespace {

NSPasteboard* pasteboardOf(orvane::Pasteboard& entry) {
    return static_cast<cocoa::CocoaPasteboard&>(entry).pasteboard();
}

using History = std::shared_ptr<const orvane::OVPasteboardServer::Pasteboards>;

/// The monitor of the Objective-C object, which `@synchronized` takes, too.
class MonitorOfServer final : public orvane::OVMonitor {
  public:
    explicit MonitorOfServer(::OVPasteboardServer* server) : server_(server) {}

    void lock() override { objc_sync_enter(server_); }
    void unlock() override { objc_sync_exit(server_); }

  private:
    ::OVPasteboardServer* server_; // which owns this
};

/// The run loop as the core's `init` sees it: its timer has the Objective-C object as target, which it so keeps, and
/// `pollPasteboard:` as selector.
class RunLoopOfServer final : public orvane::RunLoop {
  public:
    explicit RunLoopOfServer(::OVPasteboardServer* server) : server_(server) {}

    bool addRepeatingTimer(double seconds, std::function<void()> /*action*/) override {
        cocoa::addRepeatingTimer(seconds, server_, @selector(pollPasteboard:));
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

/// An array whose elements are whatever the history holds when it is asked. Copies and enumerations have what it holds
/// when they begin, and keep it.
@interface OVPasteboardHistory : NSArray {
  @public
    History* history_;
}
@end

@implementation OVPasteboardHistory

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
    return [[pasteboardOf(*(**history_)[index]) retain] autorelease];
}

- (NSMutableArray*)mutableCopyWithZone:(NSZone*)zone {
    return [[NSMutableArray allocWithZone:zone] initWithArray:self];
}

- (id)copyWithZone:(NSZone*)zone {
    return [[NSArray allocWithZone:zone] initWithArray:self];
}

- (NSEnumerator*)objectEnumerator {
    return [[[self copy] autorelease] objectEnumerator];
}

- (NSEnumerator*)reverseObjectEnumerator {
    return [[[self copy] autorelease] reverseObjectEnumerator];
}

- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state objects:(id*)objects count:(NSUInteger)count {
    // The history has fewer entries than the places that a loop offers, but who knows who asks with how many.
    if (state->state == 0) {
        state->extra[0] = reinterpret_cast<unsigned long>([[self copy] autorelease]);
        state->mutationsPtr = &state->extra[0]; // the walked copy does not change
    }
    NSArray* const walked = reinterpret_cast<NSArray*>(state->extra[0]);
    NSUInteger given = 0;
    while (given < count && state->state < [walked count]) {
        objects[given++] = [walked objectAtIndex:state->state++];
    }
    state->itemsPtr = objects;
    return given;
}

@end

@implementation OVPasteboardServer

- (id)init {
    if ((self = [super init]) != nil) {
        RunLoopOfServer runLoop(self);
        core_ = new Core(orvane::OVPasteboardServer::create(orvane::PasteboardService::platform(), runLoop,
                                                            std::make_unique<MonitorOfServer>(self)));
        OVPasteboardHistory* const history = [[OVPasteboardHistory alloc] init];
        history->history_ = new History(coreOf(core_).pasteboards());
        pasteboards_ = history;
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

// These are carried to the main thread as a whole. Were it the pasteboard's calls alone, a thread would wait for the
// main one with the server's lock held, and the main one, polling, for the lock.

- (void)pollPasteboard:(NSTimer*)timer {
    static_cast<void>(timer);
    cocoa::onMainThread([&] { coreOf(core_).pollPasteboard(); });
}

- (void)readItemsFromPasteboard {
    cocoa::onMainThread([&] { coreOf(core_).readItemsFromPasteboard(); });
}

- (NSPasteboardItem*)pasteboardItemByCopyingPasteboardItem:(NSPasteboardItem*)item {
    const auto copy = coreOf(core_).pasteboardItemByCopyingPasteboardItem(
        item != nil ? std::make_shared<cocoa::CocoaPasteboardItem>(item, true) : nullptr);
    return copy != nullptr ? [[static_cast<cocoa::CocoaPasteboardItem&>(*copy).item() retain] autorelease] : nil;
}

- (BOOL)restoreItemsFromPasteboard:(NSPasteboard*)pasteboard {
    const auto entry = pasteboard != nil ? std::make_shared<cocoa::CocoaPasteboard>(pasteboard) : nullptr;
    return coreOf(core_).restoreItemsFromPasteboard(entry) ? YES : NO;
}

- (void)clearHistory {
    coreOf(core_).clearHistory();
}

@end
