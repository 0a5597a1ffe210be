#include "Platform/Pasteboard.h"

namespace orvane {

namespace {

class HeadlessPasteboardItem final : public PasteboardItem {
  public:
    std::optional<std::vector<std::string>> types() override { return std::vector<std::string>(); }

    std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& /*type*/) override {
        return nullptr;
    }

    bool setData(const std::shared_ptr<const PasteboardData>& /*data*/, const std::string& /*forType*/) override {
        return false;
    }
};

class HeadlessPasteboard final : public Pasteboard {
  public:
    std::optional<NSInteger> changeCount() override { return 0; }

    std::optional<PasteboardItems> readItems() override { return PasteboardItems(); }

    std::optional<PasteboardItems> pasteboardItems() override { return PasteboardItems(); }

    bool clearContents() override { return true; }

    bool writeObjects(const PasteboardItems& /*items*/) override { return false; }
};

class HeadlessPasteboardService final : public PasteboardService {
  public:
    std::shared_ptr<Pasteboard> generalPasteboard() override { return std::make_shared<HeadlessPasteboard>(); }

    std::shared_ptr<Pasteboard> pasteboardWithUniqueName() override { return std::make_shared<HeadlessPasteboard>(); }

    std::shared_ptr<PasteboardItem> newItem() override { return std::make_shared<HeadlessPasteboardItem>(); }
};

} // namespace

PasteboardService& PasteboardService::platform() {
    static constinit HeadlessPasteboardService service;
    return service;
}

} // namespace orvane
