#include "Backends/Cocoa/CocoaPasteboard.h"

namespace orvane {

namespace cocoa {

namespace {

constexpr NSUInteger kDescribedBytes = 24;

PasteboardItems itemsOf(NSArray* objects) {
    PasteboardItems items;
    for (NSPasteboardItem* item in objects) {
        items.push_back(std::make_shared<CocoaPasteboardItem>(item, true));
    }
    return items;
}

NSData* dataOf(const PasteboardData& data) {
    if (const auto* ours = dynamic_cast<const CocoaPasteboardData*>(&data)) {
        return ours->data();
    }
    const std::string_view bytes = data.bytes();
    return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

} // namespace

std::string CocoaPasteboardData::description() const {
    return guarded(std::string("data"), [&] {
        const NSUInteger length = [data() length];
        if (length <= kDescribedBytes) {
            return textOf([data() description]);
        }
        NSData* start = [data() subdataWithRange:NSMakeRange(0, kDescribedBytes)];
        return textOf([start description]) + " and so on, " + std::to_string(length) + " bytes";
    });
}

std::optional<std::vector<std::string>> CocoaPasteboardItem::types() {
    return guardedAnswerOnMainThread([&] {
        std::vector<std::string> types;
        for (NSString* type in [item_.get() types]) {
            types.push_back(textOf(type));
        }
        return types;
    });
}

std::optional<std::shared_ptr<const PasteboardData>> CocoaPasteboardItem::dataForType(const std::string& type) {
    return guardedAnswerOnMainThread([&]() -> std::shared_ptr<const PasteboardData> {
        NSData* data = [item_.get() dataForType:stringOf(type)];
        return data != nil ? std::make_shared<CocoaPasteboardData>(data) : nullptr;
    });
}

bool CocoaPasteboardItem::setData(const std::shared_ptr<const PasteboardData>& data, const std::string& forType) {
    return guardedOnMainThread(
        false, [&] { return data && [item_.get() setData:dataOf(*data) forType:stringOf(forType)] != NO; });
}

std::optional<PasteboardItems> CocoaPasteboard::readItems() {
    return guardedAnswerOnMainThread([&] {
        return itemsOf([pasteboard_.get() readObjectsForClasses:[NSArray arrayWithObject:[NSPasteboardItem class]]
                                                        options:[NSDictionary dictionary]]);
    });
}

std::optional<PasteboardItems> CocoaPasteboard::pasteboardItems() {
    return guardedAnswerOnMainThread([&] { return itemsOf([pasteboard_.get() pasteboardItems]); });
}

bool CocoaPasteboard::writeObjects(const PasteboardItems& items) {
    return guardedOnMainThread(false, [&] {
        NSMutableArray* objects = [NSMutableArray arrayWithCapacity:items.size()];
        for (const std::shared_ptr<PasteboardItem>& item : items) {
            auto* ours = dynamic_cast<CocoaPasteboardItem*>(item.get());
            if (ours == nullptr || ours->onPasteboard_) {
                return false;
            }
            [objects addObject:ours->item()];
        }
        if ([pasteboard_.get() writeObjects:objects] == NO) {
            return false;
        }
        for (const std::shared_ptr<PasteboardItem>& item : items) {
            static_cast<CocoaPasteboardItem&>(*item).onPasteboard_ = true;
        }
        return true;
    });
}

bool CocoaPasteboard::isEqual(const Pasteboard& other) const {
    const auto* theirs = dynamic_cast<const CocoaPasteboard*>(&other);
    // Not carried: the history compares its entries with its lock held, for which the main thread may wait.
    return theirs != nullptr &&
           (theirs == this || guarded(false, [&] { return [pasteboard_.get() isEqual:theirs->pasteboard()] != NO; }));
}

} // namespace cocoa

namespace {

using namespace cocoa;

class CocoaPasteboardService final : public PasteboardService {
  public:
    std::shared_ptr<Pasteboard> generalPasteboard() override {
        return pasteboardFrom([] { return [NSPasteboard generalPasteboard]; });
    }

    std::shared_ptr<Pasteboard> pasteboardWithUniqueName() override {
        return pasteboardFrom([] { return [NSPasteboard pasteboardWithUniqueName]; });
    }

    std::shared_ptr<PasteboardItem> newItem() override {
        return guarded(std::shared_ptr<PasteboardItem>(), []() -> std::shared_ptr<PasteboardItem> {
            return std::make_shared<CocoaPasteboardItem>([[[NSPasteboardItem alloc] init] autorelease], false);
        });
    }

  private:
    template <typename Source> static std::shared_ptr<Pasteboard> pasteboardFrom(Source source) {
        return guardedOnMainThread(std::shared_ptr<Pasteboard>(), [&]() -> std::shared_ptr<Pasteboard> {
            NSPasteboard* pasteboard = source();
            return pasteboard != nil ? std::make_shared<CocoaPasteboard>(pasteboard) : nullptr;
        });
    }
};

} // namespace

PasteboardService& PasteboardService::platform() {
    static constinit CocoaPasteboardService service;
    return service;
}

} // namespace orvane
