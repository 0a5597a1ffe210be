#pragma once

#include "Backends/Cocoa/CocoaSupport.h"
#include "Platform/Pasteboard.h"

namespace orvane::cocoa {

/// An `NSData`, retained and never copied.
class CocoaPasteboardData final : public PasteboardData {
  public:
    explicit CocoaPasteboardData(NSData* data) : data_(data) {}

    [[nodiscard]] std::string_view bytes() const override {
        return {static_cast<const char*>([data() bytes]), [data() length]};
    }
    [[nodiscard]] std::string description() const override;

    [[nodiscard]] NSData* data() const { return data_.get(); }

  private:
    Retained<NSData> data_;
};

/// An `NSPasteboardItem`.
class CocoaPasteboardItem final : public PasteboardItem {
  public:
    /// `onPasteboard`: whether it is part of a pasteboard's content, and so cannot be written to another.
    CocoaPasteboardItem(NSPasteboardItem* item, bool onPasteboard) : item_(item), onPasteboard_(onPasteboard) {}

    std::optional<std::vector<std::string>> types() override;
    std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& type) override;
    bool setData(const std::shared_ptr<const PasteboardData>& data, const std::string& forType) override;

    [[nodiscard]] NSPasteboardItem* item() const { return item_.get(); }

  private:
    friend class CocoaPasteboard;

    Retained<NSPasteboardItem> item_;
    bool onPasteboard_;
};

/// An `NSPasteboard`, used on the main thread whoever asks.
class CocoaPasteboard final : public Pasteboard {
  public:
    explicit CocoaPasteboard(NSPasteboard* pasteboard) : pasteboard_(pasteboard) {}

    std::optional<NSInteger> changeCount() override {
        return guardedAnswerOnMainThread([&]() -> NSInteger { return [pasteboard() changeCount]; });
    }
    std::optional<PasteboardItems> readItems() override;
    std::optional<PasteboardItems> pasteboardItems() override;
    bool clearContents() override {
        return guardedAnswerOnMainThread([&] { return [pasteboard() clearContents]; }).has_value();
    }
    bool writeObjects(const PasteboardItems& items) override;
    [[nodiscard]] bool isEqual(const Pasteboard& other) const override;

    [[nodiscard]] NSPasteboard* pasteboard() const { return pasteboard_.get(); }

  private:
    Retained<NSPasteboard> pasteboard_;
};

} // namespace orvane::cocoa
