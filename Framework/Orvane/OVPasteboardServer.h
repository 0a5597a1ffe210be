#import <AppKit/AppKit.h>
#import <Orvane/OVFrameworkTypes.h>

@class NSPasteboardItem; // which GNUstep's AppKit lacks

OV_ASSUME_NONNULL_BEGIN

/// Keeps the last ten contents of the general pasteboard, newest first. Made on a thread that runs a run loop, by which
/// it polls four times a second; the poll's timer keeps the server for as long as that run loop runs.
///
/// Changes of the history are made in a block synchronized on the server, so that a host can keep them out the same
/// way. It should not hold the server so for long, nor restore meanwhile on another thread than the polling one: a poll
/// then waits for it, and if what it does waits for the polling thread in turn (a pasteboard whose promised data is
/// made there, a call that is carried to the main thread), neither ever goes on.
///
/// An exception that a pasteboard raises ends here and is logged. What could not be read is then not there: history and
/// clipboard stay as they are, the next poll tries again.
///
/// Threads: any, several at once. What AppKit does with a pasteboard is done on the main thread and waited for there,
/// in the common modes of its run loop, which it must therefore be in. Made on another than the main thread, the server
/// polls by that thread's run loop.
@interface OVPasteboardServer : NSObject {
  @private
    void* core_;
    NSArray OV_OF(NSPasteboard*) * pasteboards_;
}

/// The history: `NSPasteboard` objects, newest first. This is the live array, which changes as the clipboard does: read
/// it on the thread that polls, while no other thread restores or clears, or anywhere in a block synchronized on the
/// server. A copy, and an enumeration, has and keeps what the history held when it began.
@property(readonly) NSArray OV_OF(NSPasteboard*) * pasteboards;

/// Takes the general pasteboard's present content as the first entry and starts polling.
- (id OV_NULLABLE)init;

/// The timer's action, carried to the main thread as a whole: reads the general pasteboard when its change count moved.
- (void)pollPasteboard:(NSTimer* OV_NULLABLE)timer;

/// Carried to the main thread as a whole: copies the general pasteboard's items into a new front entry, or into the
/// oldest when there are ten.
- (void)readItemsFromPasteboard;

/// A new item with the same data for the same types. A type without data is logged and left out. Nil when the item
/// could not be read.
- (NSPasteboardItem* OV_NULLABLE)pasteboardItemByCopyingPasteboardItem:(NSPasteboardItem* OV_NULLABLE)item;

/// Takes the entry out of the history and puts its content on the general pasteboard, from where the next poll brings
/// it to the front. Whether it could be written; NO, too, when it could not be read. Nil has no content: the general
/// pasteboard is emptied.
- (BOOL)restoreItemsFromPasteboard:(NSPasteboard* OV_NULLABLE)pasteboard;

/// Empties the history. Needs no main thread, but the server's lock.
- (void)clearHistory;

@end

OV_ASSUME_NONNULL_END
