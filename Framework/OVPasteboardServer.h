#import "OVFrameworkTypes.h"

@class NSPasteboard;
@class NSPasteboardItem;

OV_ASSUME_NONNULL_BEGIN

/// Keeps the last ten contents of the general pasteboard, newest first. Made on a thread that runs a run loop, by which
/// it polls four times a second; the poll's timer keeps the server for as long as that run loop runs.
@interface OVPasteboardServer : NSObject {
  @private
    void* core_;
    NSArray* pasteboards_;
}

/// The history: `NSPasteboard` objects, newest first. This is the live array, which changes as the clipboard does.
@property(readonly) NSArray* pasteboards;

/// Takes the general pasteboard's present content as the first entry and starts polling.
- (id OV_NULLABLE)init;

/// The timer's action: reads the general pasteboard when its change count moved.
- (void)pollPasteboard:(NSTimer* OV_NULLABLE)timer;

/// Copies the general pasteboard's items into a new front entry, or into the oldest when there are ten.
- (void)readItemsFromPasteboard;

/// A new item with the same data for the same types. A type without data is logged and left out.
- (NSPasteboardItem*)pasteboardItemByCopyingPasteboardItem:(NSPasteboardItem*)item;

/// Takes the entry out of the history and puts its content on the general pasteboard, from where the next poll brings
/// it to the front. Whether it could be written.
- (BOOL)restoreItemsFromPasteboard:(NSPasteboard*)pasteboard;

/// Empties the history.
- (void)clearHistory;

@end

OV_ASSUME_NONNULL_END
