#include "Pasteboard/OVPasteboardServer.h"
#include "Tasks/OVTaskRunner.h"

namespace orvane {

std::int32_t OVTaskRunner::restoreItemsFromPasteboard(const std::shared_ptr<Pasteboard>& pasteboard) {
    const auto server = pasteboardServer();
    return server != nullptr && server->restoreItemsFromPasteboard(pasteboard) ? kTaskSuccess : kTaskFailure;
}

std::int32_t OVTaskRunner::clearPasteboardHistory() {
    if (const auto server = pasteboardServer()) {
        server->clearHistory();
    }
    return kTaskSuccess;
}

} // namespace orvane
