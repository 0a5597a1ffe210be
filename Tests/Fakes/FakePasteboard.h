#pragma once

#include "Platform/Pasteboard.h"
#include "Platform/RunLoop.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// A pasteboard service in memory that minds what the system's minds: an item is written once and to one pasteboard,
/// and one that was read is worth nothing once its pasteboard has changed. May be used from several threads.
namespace orvane::test {

class FakePasteboardService;

class FakeData final : public PasteboardData {
  public:
    explicit FakeData(std::string bytes) : bytes_(std::move(bytes)) {}
    [[nodiscard]] std::string_view bytes() const override { return bytes_; }
    [[nodiscard]] std::string description() const override { return "<" + std::to_string(bytes_.size()) + " bytes>"; }

  private:
    std::string bytes_;
};

/// What a pasteboard holds of one item: its types in order, null for one whose data cannot be read.
using FakeContent = std::vector<std::pair<std::string, std::shared_ptr<const PasteboardData>>>;

inline FakeContent textContent(const std::string& text) {
    return {{"public.utf8-plain-text", std::make_shared<FakeData>(text)}};
}

class FakePasteboard final : public Pasteboard, public std::enable_shared_from_this<FakePasteboard> {
  public:
    FakePasteboard(FakePasteboardService& service, std::string itsName) : name(std::move(itsName)), service_(service) {}

    std::optional<NSInteger> changeCount() override;
    std::optional<PasteboardItems> readItems() override;
    std::optional<PasteboardItems> pasteboardItems() override;
    bool clearContents() override;
    bool writeObjects(const PasteboardItems& items) override;
    [[nodiscard]] bool isEqual(const Pasteboard& other) const override;

    /// What another program does that has something to copy. One text is one item with one type.
    void put(std::vector<FakeContent> content);
    void put(const std::string& text) { put(std::vector<FakeContent>{textContent(text)}); }
    /// Puts the change count anywhere, also below what it was.
    void setChangeCount(NSInteger count);
    /// What it holds: for each item its types and their data.
    [[nodiscard]] std::vector<FakeContent> content() const;
    /// The data of the first type of each item.
    [[nodiscard]] std::vector<std::string> texts() const;

    const std::string name;
    bool takesItems = true;                ///< whether writing succeeds
    std::vector<const Pasteboard*> equals; ///< other objects that stand for the same pasteboard
    std::function<void()> asked;           ///< called by the question whether it is equal to another

  private:
    friend class FakeReadItem;
    PasteboardItems itemsOfContent();

    FakePasteboardService& service_;
    std::vector<FakeContent> content_;
    NSInteger changeCount_ = 100;
};

/// An item on a pasteboard. Its data is a fresh copy each time, as it is when it comes from another process.
class FakeReadItem final : public PasteboardItem {
  public:
    FakeReadItem(FakePasteboardService& service, std::shared_ptr<FakePasteboard> pasteboard, std::size_t index)
        : service_(service), pasteboard_(std::move(pasteboard)), index_(index), count_(pasteboard_->changeCount_) {}

    std::optional<std::vector<std::string>> types() override;
    std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& type) override;
    bool setData(const std::shared_ptr<const PasteboardData>& /*data*/, const std::string& /*forType*/) override {
        return false;
    }

  private:
    FakePasteboardService& service_;
    const std::shared_ptr<FakePasteboard> pasteboard_;
    const std::size_t index_;
    const NSInteger count_; ///< the pasteboard's when it was read
};

/// An item that is on no pasteboard yet.
class FakeNewItem final : public PasteboardItem {
  public:
    explicit FakeNewItem(FakePasteboardService& service) : service_(service) {}

    std::optional<std::vector<std::string>> types() override;
    std::optional<std::shared_ptr<const PasteboardData>> dataForType(const std::string& type) override;
    bool setData(const std::shared_ptr<const PasteboardData>& data, const std::string& forType) override;

    FakeContent content;
    bool written = false;

  private:
    FakePasteboardService& service_;
};

class FakePasteboardService final : public PasteboardService {
  public:
    std::shared_ptr<Pasteboard> generalPasteboard() override {
        return failing != "general pasteboard" ? general : nullptr;
    }
    std::shared_ptr<Pasteboard> pasteboardWithUniqueName() override {
        if (!note("unique pasteboard")) {
            return nullptr;
        }
        if (unique != nullptr) {
            return unique;
        }
        const std::lock_guard lock(mutex);
        auto pasteboard = std::make_shared<FakePasteboard>(*this, "unique " + std::to_string(made.size() + 1));
        made.push_back(pasteboard);
        return pasteboard;
    }
    std::shared_ptr<PasteboardItem> newItem() override {
        return note("new item") ? std::make_shared<FakeNewItem>(*this) : nullptr;
    }

    /// The events since the last call.
    std::vector<std::string> takeEvents() {
        const std::lock_guard lock(mutex);
        return std::exchange(events, {});
    }

    /// Notes what was asked and lets the test do something meanwhile. Whether it goes well: false is what the system's
    /// answers when an exception was raised.
    bool note(const std::string& event) {
        if (notes) {
            const std::lock_guard lock(mutex);
            events.push_back(event);
        }
        if (during) {
            during(event);
        }
        return failing.empty() || event.find(failing) == std::string::npos;
    }

    const std::shared_ptr<FakePasteboard> general = std::make_shared<FakePasteboard>(*this, "general");
    std::set<std::string> refusedTypes; ///< those that a new item does not take
    std::shared_ptr<Pasteboard> unique; ///< the next pasteboard with a unique name, in place of a new one
    std::function<void(const std::string& event)> during;
    std::string failing; ///< events with this in them fail
    bool notes = true;

    std::mutex mutex; ///< around what follows and what the pasteboards hold
    std::vector<std::string> events;
    std::vector<std::weak_ptr<FakePasteboard>> made;            ///< the pasteboards with unique names
    std::vector<std::weak_ptr<const PasteboardData>> handedOut; ///< the copies of data, by order of asking
};

inline std::optional<NSInteger> FakePasteboard::changeCount() {
    if (!service_.note(name + " change count")) {
        return std::nullopt;
    }
    const std::lock_guard lock(service_.mutex);
    return changeCount_;
}

inline std::optional<PasteboardItems> FakePasteboard::readItems() {
    return service_.note(name + " read") ? std::optional(itemsOfContent()) : std::nullopt;
}

inline std::optional<PasteboardItems> FakePasteboard::pasteboardItems() {
    return service_.note(name + " items") ? std::optional(itemsOfContent()) : std::nullopt;
}

inline PasteboardItems FakePasteboard::itemsOfContent() {
    const std::lock_guard lock(service_.mutex);
    PasteboardItems items;
    for (std::size_t index = 0; index < content_.size(); ++index) {
        items.push_back(std::make_shared<FakeReadItem>(service_, shared_from_this(), index));
    }
    return items;
}

inline bool FakePasteboard::clearContents() {
    if (!service_.note(name + " clear")) {
        return false;
    }
    const std::lock_guard lock(service_.mutex);
    content_.clear();
    ++changeCount_;
    return true;
}

inline bool FakePasteboard::isEqual(const Pasteboard& other) const {
    if (asked) {
        asked();
    }
    return this == &other || std::find(equals.begin(), equals.end(), &other) != equals.end();
}

inline bool FakePasteboard::writeObjects(const PasteboardItems& items) {
    if (!service_.note(name + " write " + std::to_string(items.size()))) {
        return false;
    }
    const std::lock_guard lock(service_.mutex);
    for (const auto& item : items) {
        auto* const fresh = dynamic_cast<FakeNewItem*>(item.get());
        if (!takesItems || fresh == nullptr || std::exchange(fresh->written, true)) {
            return false;
        }
        content_.push_back(fresh->content);
    }
    return takesItems;
}

inline void FakePasteboard::put(std::vector<FakeContent> content) {
    const std::lock_guard lock(service_.mutex);
    content_ = std::move(content);
    ++changeCount_;
}

inline void FakePasteboard::setChangeCount(NSInteger count) {
    const std::lock_guard lock(service_.mutex);
    changeCount_ = count;
}

inline std::vector<FakeContent> FakePasteboard::content() const {
    const std::lock_guard lock(service_.mutex);
    return content_;
}

inline std::vector<std::string> FakePasteboard::texts() const {
    std::vector<std::string> texts;
    for (const FakeContent& item : content()) {
        texts.emplace_back(item.empty() || item[0].second == nullptr ? "(none)" : item[0].second->bytes());
    }
    return texts;
}

inline std::optional<std::vector<std::string>> FakeReadItem::types() {
    if (!service_.note("types")) {
        return std::nullopt;
    }
    const std::lock_guard lock(service_.mutex);
    std::vector<std::string> types;
    if (pasteboard_->changeCount_ == count_) {
        for (const auto& entry : pasteboard_->content_[index_]) {
            types.push_back(entry.first);
        }
    }
    return types;
}

inline std::optional<std::shared_ptr<const PasteboardData>> FakeReadItem::dataForType(const std::string& type) {
    if (!service_.note("data " + type)) {
        return std::nullopt;
    }
    const std::lock_guard lock(service_.mutex);
    if (pasteboard_->changeCount_ != count_) {
        return nullptr;
    }
    for (const auto& [name, data] : pasteboard_->content_[index_]) {
        if (name == type && data != nullptr) {
            auto copy = std::make_shared<FakeData>(std::string(data->bytes()));
            service_.handedOut.emplace_back(copy);
            return copy;
        }
    }
    return nullptr;
}

inline std::optional<std::vector<std::string>> FakeNewItem::types() {
    std::vector<std::string> types;
    for (const auto& entry : content) {
        types.push_back(entry.first);
    }
    return types;
}

inline std::optional<std::shared_ptr<const PasteboardData>> FakeNewItem::dataForType(const std::string& type) {
    const auto found =
        std::find_if(content.begin(), content.end(), [&](const auto& each) { return each.first == type; });
    return found != content.end() ? found->second : nullptr;
}

inline bool FakeNewItem::setData(const std::shared_ptr<const PasteboardData>& data, const std::string& forType) {
    service_.note("set " + forType);
    if (service_.refusedTypes.contains(forType)) {
        return false;
    }
    content.emplace_back(forType, data);
    return true;
}

/// Runs when the test says so.
class FakeRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double seconds, std::function<void()> action) override {
        if (adding) {
            adding();
        }
        if (!runs) {
            return false;
        }
        timers.emplace_back(seconds, std::move(action));
        return true;
    }

    /// Every timer fires once.
    void fire() {
        for (const auto& timer : timers) {
            timer.second();
        }
    }

    bool runs = true;
    std::function<void()> adding;                                 ///< called when a timer is added
    std::vector<std::pair<double, std::function<void()>>> timers; ///< seconds and action
};

} // namespace orvane::test
