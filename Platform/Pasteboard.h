#pragma once

#include "Platform/MachineWord.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Immutable bytes of a pasteboard (`NSData`), shared by whoever holds them and never copied on the way.
class PasteboardData {
  public:
    /// The bytes; valid as long as the object.
    [[nodiscard]] virtual std::string_view bytes() const = 0;

    /// `description`: how "%@" shows the data in a log line; short, however much data there is.
    [[nodiscard]] virtual std::string description() const = 0;

    virtual ~PasteboardData() = default;
};

// Whoever a pasteboard asks, another program or a class of the host's own, may raise an exception. It ends in the back
// end, which logs it; what was to be read is then answered with nothing, which is not the same as an empty answer.

/// One item on a pasteboard, or on its way to one (`NSPasteboardItem`): the same content in several types.
class PasteboardItem {
  public:
    /// `types`: the uniform type identifiers in the item's order. Nothing when they could not be read.
    virtual std::optional<std::vector<std::string>> types() = 0;

    /// `dataForType:`: the bytes of that type; null when the item has none or its owner does not hand them out. Nothing
    /// when they could not be read.
    virtual std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& type) = 0;

    /// `setData:forType:`: false when the item does not take them.
    virtual bool setData(const std::shared_ptr<const PasteboardData>& data, const std::string& forType) = 0;

    virtual ~PasteboardItem() = default;
};

using PasteboardItems = std::vector<std::shared_ptr<PasteboardItem>>;

/// One pasteboard (`NSPasteboard`). Releasing the object does not take its content out of the pasteboard service.
class Pasteboard {
  public:
    /// `changeCount`: another number than before whenever the content changed owner. Nothing when it could not be read.
    virtual std::optional<NSInteger> changeCount() = 0;

    /// `readObjectsForClasses:options:` with the class `NSPasteboardItem` alone and no options; empty when there is
    /// nothing to read. Nothing when that could not be found out.
    virtual std::optional<PasteboardItems> readItems() = 0;

    /// `pasteboardItems`; empty when there are none. Nothing when they could not be read.
    virtual std::optional<PasteboardItems> pasteboardItems() = 0;

    /// `clearContents`: false when it failed.
    virtual bool clearContents() = 0;

    /// `writeObjects:`: the items become part of the content; false when they could not be written. An item can be
    /// written once, to one pasteboard.
    virtual bool writeObjects(const PasteboardItems& items) = 0;

    /// `isEqual:`: whether both stand for the same pasteboard of the system.
    [[nodiscard]] virtual bool isEqual(const Pasteboard& other) const { return this == &other; }

    virtual ~Pasteboard() = default;
};

/// The system's pasteboards. Used on the thread that polls and on those that restore.
class PasteboardService {
  public:
    /// That of the user's session. Without a desktop the general pasteboard is empty for ever and takes nothing.
    /// Lives for ever.
    static PasteboardService& platform();

    // Null where the system has none to give.

    /// `generalPasteboard`: the clipboard.
    virtual std::shared_ptr<Pasteboard> generalPasteboard() = 0;

    /// `pasteboardWithUniqueName`: a new pasteboard that no other process knows.
    virtual std::shared_ptr<Pasteboard> pasteboardWithUniqueName() = 0;

    /// A new, empty `NSPasteboardItem`.
    virtual std::shared_ptr<PasteboardItem> newItem() = 0;

  protected:
    ~PasteboardService() = default;
};

} // namespace orvane
