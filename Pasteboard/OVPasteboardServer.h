#pragma once

#include "Platform/MachineWord.h"
#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"

#include <memory>
#include <optional>
#include <vector>

namespace orvane {

/// An object's own lock (what `@synchronized` takes), with which a host can keep others out, too. Recursive.
class OVMonitor {
  public:
    virtual void lock() = 0;
    virtual void unlock() = 0;

    OVMonitor(const OVMonitor&) = delete;
    OVMonitor& operator=(const OVMonitor&) = delete;
    virtual ~OVMonitor() = default;

  protected:
    OVMonitor() = default;
};

/// The clipboard history: copies of what has been on the general pasteboard, at most ten, newest first. Each is kept on
/// a pasteboard of its own, in memory only; one that leaves the history is released, its content stays with the
/// pasteboard service until the process ends.
///
/// One change is one entry: there is no test for duplicates, nor for a change that left nothing to read.
///
/// Polls on the thread that made it. `restoreItemsFromPasteboard` and `clearHistory` may be called on any.
class OVPasteboardServer {
  public:
    using Pasteboards = std::vector<std::shared_ptr<Pasteboard>>;

    /// `init`: never null. Takes the clipboard's present content as the first entry and then has the run loop poll
    /// every 0.25 seconds; without a run loop the history stays as it was made.
    ///
    /// The timer keeps its target and nothing ever stops it, deliberately: `runLoop` gets an action that holds the
    /// server. A run loop that drops the action and calls `pollPasteboard` by other means, on this thread, leaves the
    /// server to whoever holds the result. `service` must outlive the server. `monitor` is the lock around the history;
    /// null is one of its own.
    static std::shared_ptr<OVPasteboardServer> create(PasteboardService& service = PasteboardService::platform(),
                                                      RunLoop& runLoop = RunLoop::current(),
                                                      std::unique_ptr<OVMonitor> monitor = nullptr);

    OVPasteboardServer(const OVPasteboardServer&) = delete;
    OVPasteboardServer& operator=(const OVPasteboardServer&) = delete;

    /// `pasteboards`: the history, newest first; always the same object, the live one and deliberately no copy. Read it
    /// on the thread that polls, and while no other thread restores or clears.
    [[nodiscard]] std::shared_ptr<const Pasteboards> pasteboards() const { return pasteboards_; }

    /// `pollPasteboard:`, the timer's action: `readItemsFromPasteboard` if the general pasteboard's change count is
    /// another than at the last reading, larger or not. A reading that failed is done again by the next poll.
    void pollPasteboard();

    /// `readItemsFromPasteboard`: copies the general pasteboard's items (`readObjectsForClasses:options:`) to a new
    /// entry at the front; with ten entries the oldest one's pasteboard becomes the newest's. False when they could not
    /// be read, and the history stays as it is.
    bool readItemsFromPasteboard();

    /// `pasteboardItemByCopyingPasteboardItem:`: a new item with all types of this one, sharing the data that it hands
    /// out. A type whose data is missing or not taken is logged and left out. Null is an item without types. The result
    /// is null when the item could not be read.
    std::shared_ptr<PasteboardItem> pasteboardItemByCopyingPasteboardItem(const std::shared_ptr<PasteboardItem>& item);

    /// `restoreItemsFromPasteboard:`: takes the pasteboard out of the history, if it is in it, and puts copies of its
    /// items on the general pasteboard, from which the next poll reads them back as the newest entry. The result is
    /// that of writing there; the entry is gone all the same. Null has no items: the clipboard is emptied. False, too,
    /// when the items could not be read, and then clipboard and history stay as they are.
    bool restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard);

    /// `clearHistory`: empties the history. What is on the clipboard deliberately comes back only when it changes.
    void clearHistory();

  private:
    OVPasteboardServer(PasteboardService& service, std::unique_ptr<OVMonitor> monitor);

    std::optional<PasteboardItems> copiesOfItems(const std::optional<PasteboardItems>& items);

    const std::shared_ptr<Pasteboards> pasteboards_;
    std::optional<NSInteger> previousChangeCount_; ///< the general pasteboard's at the last reading; nothing before it
    PasteboardService& service_;
    const std::unique_ptr<OVMonitor> monitor_; ///< around the history
};

} // namespace orvane
