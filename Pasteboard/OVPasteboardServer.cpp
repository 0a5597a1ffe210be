#include "Pasteboard/OVPasteboardServer.h"

#include "Support/OVLog.h"

#include <cstddef>
#include <string>
#include <utility>

namespace orvane {

namespace {

constexpr std::size_t kMostEntries = 10;
constexpr double kPollInterval = 0.25; // seconds

} // namespace

std::shared_ptr<OVPasteboardServer> OVPasteboardServer::create(PasteboardService& service, RunLoop& runLoop) {
    std::shared_ptr<OVPasteboardServer> server(new OVPasteboardServer(service));
    server->readItemsFromPasteboard();
    // Without a run loop there is a history all the same; that nothing will poll was logged there.
    static_cast<void>(runLoop.addRepeatingTimer(kPollInterval, [server] { server->pollPasteboard(); }));
    return server;
}

OVPasteboardServer::OVPasteboardServer(PasteboardService& service)
    : pasteboards_(std::make_shared<Pasteboards>()), previousChangeCount_(service.generalPasteboard()->changeCount()),
      service_(service) {}

OVPasteboardServer::~OVPasteboardServer() = default;

std::shared_ptr<const OVPasteboardServer::Pasteboards> OVPasteboardServer::pasteboards() const {
    return pasteboards_;
}

void OVPasteboardServer::pollPasteboard() {
    // Deliberately without the lock. The count is stored after the reading, so that one that failed is done again.
    const NSInteger changeCount = service_.generalPasteboard()->changeCount();
    if (changeCount != previousChangeCount_) {
        readItemsFromPasteboard();
        previousChangeCount_ = changeCount;
    }
}

void OVPasteboardServer::readItemsFromPasteboard() {
    const std::lock_guard lock(lock_);
    const PasteboardItems items = service_.generalPasteboard()->readItems();
    std::shared_ptr<Pasteboard> destination;
    if (pasteboards_->size() < kMostEntries) {
        destination = service_.pasteboardWithUniqueName();
    } else {
        destination = pasteboards_->back();
        destination->clearContents();
        pasteboards_->pop_back();
    }
    pasteboards_->insert(pasteboards_->begin(), destination);
    destination->writeObjects(copiesOfItems(items)); // deliberately whatever comes of it
}

std::shared_ptr<PasteboardItem>
OVPasteboardServer::pasteboardItemByCopyingPasteboardItem(const std::shared_ptr<PasteboardItem>& item) {
    constexpr const char* kMethod = "-[OVPasteboardServer pasteboardItemByCopyingPasteboardItem:]";
    std::shared_ptr<PasteboardItem> copy = service_.newItem();
    for (const std::string& type : item != nullptr ? item->types() : std::vector<std::string>()) {
        const std::shared_ptr<const PasteboardData> data = item->dataForType(type);
        if (data == nullptr) {
            OVLogMethod(kMethod, "ERROR: no data for type %s", type.c_str());
        } else if (!copy->setData(data, type)) {
            OVLogMethod(kMethod, "ERROR setting data %s for type %s", data->description().c_str(), type.c_str());
        }
    }
    return copy;
}

bool OVPasteboardServer::restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard) {
    if (pasteboard == nullptr) {
        OVLogMethod("-[OVPasteboardServer restoreItemsFromPasteboard:]", "ERROR: no pasteboard to restore");
        return false;
    }
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be an element of the history, which goes
    const std::shared_ptr<Pasteboard> restored = pasteboard;
    const PasteboardItems copies = copiesOfItems(restored->pasteboardItems());
    {
        const std::lock_guard lock(lock_);
        std::erase_if(*pasteboards_, [&](const auto& entry) { return entry->isEqual(*restored); });
    }
    const std::shared_ptr<Pasteboard> general = service_.generalPasteboard();
    general->clearContents();
    return general->writeObjects(copies);
}

void OVPasteboardServer::clearHistory() {
    const std::lock_guard lock(lock_);
    // What goes with the last reference may come back here, and finds the history empty.
    const Pasteboards removed = std::exchange(*pasteboards_, {});
}

PasteboardItems OVPasteboardServer::copiesOfItems(const PasteboardItems& items) {
    PasteboardItems copies;
    copies.reserve(items.size());
    for (const std::shared_ptr<PasteboardItem>& item : items) {
        copies.push_back(pasteboardItemByCopyingPasteboardItem(item));
    }
    return copies;
}

} // namespace orvane
