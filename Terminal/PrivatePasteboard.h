#pragma once

#include "Platform/Pasteboard.h"

#include <memory>

namespace orvane::terminal {

/// Types with which a program says that what it copies is not for a history: a password, for instance.
bool isPrivateType(const std::string& type);

/// The system's pasteboards, but what is not for a history cannot be read from the clipboard.
class PrivatePasteboardService final : public PasteboardService {
  public:
    explicit PrivatePasteboardService(PasteboardService& service) : service_(service) {}
    virtual ~PrivatePasteboardService() = default;

    std::shared_ptr<Pasteboard> generalPasteboard() override;
    std::shared_ptr<Pasteboard> pasteboardWithUniqueName() override { return service_.pasteboardWithUniqueName(); }
    std::shared_ptr<PasteboardItem> newItem() override { return service_.newItem(); }

  private:
    PasteboardService& service_;
};

} // namespace orvane::terminal
