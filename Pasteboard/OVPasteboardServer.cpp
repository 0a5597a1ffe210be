#include "Pasteboard/OVPasteboardServer.h"

#include "Support/OVLog.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <mutex>
#include <string>
#include <utility>

namespace orvane {

namespace {

constexpr std::size_t kMostEntries = 10;
constexpr double kPollInterval = 0.25; // seconds

/// The lock of a server that gets none.
class OwnMonitor final : public OVMonitor {
  public:
    void lock() override { mutex_.lock(); }
    void unlock() override { mutex_.unlock(); }

  private:
    std::recursive_mutex mutex_;
};

std::optional<NSInteger> changeCountOf(const std::shared_ptr<Pasteboard>& pasteboard) {
    return pasteboard != nullptr ? pasteboard->changeCount() : std::nullopt;
}

} // namespace

std::shared_ptr<OVPasteboardServer> OVPasteboardServer::create(PasteboardService& service, RunLoop& runLoop,
                                                               std::unique_ptr<OVMonitor> monitor) {
    if (monitor == nullptr) {
        monitor = std::make_unique<OwnMonitor>();
    }
    std::shared_ptr<OVPasteboardServer> server(new OVPasteboardServer(service, std::move(monitor)));
    if (!server->readItemsFromPasteboard()) {
        server->previousChangeCount_.reset();
    }
    // Without a run loop there is a history all the same; that nothing will poll was logged there.
    static_cast<void>(runLoop.addRepeatingTimer(kPollInterval, [server] { server->pollPasteboard(); }));
    return server;
}

OVPasteboardServer::OVPasteboardServer(PasteboardService& service, std::unique_ptr<OVMonitor> monitor)
    : pasteboards_(std::make_shared<Pasteboards>()), previousChangeCount_(changeCountOf(service.generalPasteboard())),
      service_(service), monitor_(std::move(monitor)) {}

void OVPasteboardServer::pollPasteboard() {
    // Deliberately without the lock. The count is stored after the reading, so that one that failed is done again.
    const std::optional<NSInteger> changeCount = changeCountOf(service_.generalPasteboard());
    if (changeCount && changeCount != previousChangeCount_ && readItemsFromPasteboard()) {
        previousChangeCount_ = changeCount;
    }
}

bool OVPasteboardServer::readItemsFromPasteboard() {
    Pasteboards removed; // goes when all is done and the lock let go: what goes with it may come back here
    const std::lock_guard lock(*monitor_);
    // Nothing of the history is touched before all is read: a reading that fails must not cost the oldest entry.
    const std::shared_ptr<Pasteboard> general = service_.generalPasteboard();
    const auto copies = general != nullptr ? copiesOfItems(general->readItems()) : std::nullopt;
    if (!copies) {
        return false;
    }
    const bool recycles = pasteboards_->size() >= kMostEntries;
    const std::shared_ptr<Pasteboard> destination =
        recycles ? pasteboards_->back() : service_.pasteboardWithUniqueName();
    if (destination == nullptr || (recycles && !destination->clearContents())) {
        return false;
    }
    // Clearing it may have come back here and changed the history.
    if (recycles) {
        std::erase(*pasteboards_, destination);
    }
    pasteboards_->insert(pasteboards_->begin(), destination);
    while (pasteboards_->size() > kMostEntries) {
        removed.push_back(std::move(pasteboards_->back()));
        pasteboards_->pop_back();
    }
    destination->writeObjects(*copies); // deliberately whatever comes of it
    return true;
}

std::shared_ptr<PasteboardItem>
OVPasteboardServer::pasteboardItemByCopyingPasteboardItem(const std::shared_ptr<PasteboardItem>& item) {
    constexpr const char* kMethod = "-[OVPasteboardServer pasteboardItemByCopyingPasteboardItem:]";
    std::shared_ptr<PasteboardItem> copy = service_.newItem();
    const auto types = item != nullptr ? item->types() : std::vector<std::string>();
    if (copy == nullptr || !types) {
        return nullptr;
    }
    for (const std::string& type : *types) {
        const auto data = item->dataForType(type);
        if (!data) {
            return nullptr;
        }
        if (*data == nullptr) {
            OVLogMethod(kMethod, "ERROR: no data for type %s", type.c_str());
        } else if (!copy->setData(*data, type)) {
            OVLogMethod(kMethod, "ERROR setting data %s for type %s", (*data)->description().c_str(), type.c_str());
        }
    }
    return copy;
}

bool OVPasteboardServer::restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be an element of the history, which goes
    const std::shared_ptr<Pasteboard> restored = pasteboard;
    const std::shared_ptr<Pasteboard> general = service_.generalPasteboard();
    const auto copies = copiesOfItems(restored != nullptr ? restored->pasteboardItems() : PasteboardItems());
    if (general == nullptr || !copies) {
        return false;
    }
    Pasteboards removed; // taken out first and let go behind the lock
    {
        const std::lock_guard lock(*monitor_);
        // The question may come back here and change the history.
        const Pasteboards entries = *pasteboards_;
        std::copy_if(entries.begin(), entries.end(), std::back_inserter(removed),
                     [&](const auto& entry) { return restored != nullptr && restored->isEqual(*entry); });
        for (const auto& entry : removed) {
            std::erase(*pasteboards_, entry);
        }
    }
    return general->clearContents() && general->writeObjects(*copies);
}

void OVPasteboardServer::clearHistory() {
    Pasteboards removed; // what goes with the last reference may come back here, and finds the history empty
    const std::lock_guard lock(*monitor_);
    removed.swap(*pasteboards_);
}

std::optional<PasteboardItems> OVPasteboardServer::copiesOfItems(const std::optional<PasteboardItems>& items) {
    if (!items) {
        return std::nullopt;
    }
    PasteboardItems copies;
    copies.reserve(items->size());
    for (const std::shared_ptr<PasteboardItem>& item : *items) {
        copies.push_back(pasteboardItemByCopyingPasteboardItem(item));
        if (copies.back() == nullptr) {
            return std::nullopt;
        }
    }
    return copies;
}

} // namespace orvane
