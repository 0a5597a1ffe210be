// Properties that hold whatever happens, tried with runs that nobody wrote: the clipboard history against a model of
// it, and what reaches a command's owner against the bytes that the command wrote.

#include "Backends/Posix/PosixSystemCalls.h"
#include "Pasteboard/OVPasteboardServer.h"
#include "Support/OVText.h"
#include "Tasks/OVShellCommand.h"
#include "Tests/Fakes/FakePasteboard.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
// Behind GoogleTest, which it uses.
#include <rapidcheck/gtest.h>
#include <string>
#include <string_view>
#include <vector>

namespace orvane::test {
namespace {

/// The clipboard and its history as a person would say it.
struct Model {
    std::deque<std::string> history; ///< newest first
    std::string clipboard;
    bool isSeen = true; ///< nothing has changed since the last reading
    bool isReadable = true;
};

std::vector<std::string> shown(const OVPasteboardServer& server) {
    std::vector<std::string> texts;
    for (const auto& pasteboard : *server.pasteboards()) {
        const auto entry = std::dynamic_pointer_cast<FakePasteboard>(pasteboard)->texts();
        texts.push_back(entry.empty() ? "" : entry.front());
    }
    return texts;
}

RC_GTEST_PROP(ClipboardHistoryProperty, IsAlwaysThatOfTheModel, ()) {
    FakePasteboardService service;
    FakeRunLoop runLoop;
    Model model;
    model.clipboard = *rc::gen::nonEmpty<std::string>();
    service.general->put(model.clipboard);
    const auto server = OVPasteboardServer::create(service, runLoop);
    model.history = {model.clipboard};

    const auto steps = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 100));
    for (const int step : steps) {
        if (step < 30) { // somebody copies
            model.clipboard = *rc::gen::nonEmpty<std::string>();
            service.general->put(model.clipboard);
            model.isSeen = false;
        } else if (step < 70) { // the timer fires
            runLoop.fire();
            if (!model.isSeen && model.isReadable) {
                model.history.push_front(model.clipboard);
                model.history.resize(std::min<std::size_t>(model.history.size(), 10));
                model.isSeen = true;
            }
        } else if (step < 90 && !model.history.empty()) { // an entry is restored
            const auto index = *rc::gen::inRange<std::size_t>(0, model.history.size());
            const auto entry = server->pasteboards()->at(index);
            RC_ASSERT(server->restoreItemsFromPasteboard(entry) == model.isReadable);
            if (model.isReadable) {
                model.clipboard = model.history[index];
                model.history.erase(model.history.begin() + static_cast<std::ptrdiff_t>(index));
                model.isSeen = false;
            }
        } else if (step < 95) {
            server->clearHistory();
            model.history.clear();
        } else { // reading begins to fail, or fails no more
            model.isReadable = !model.isReadable;
            service.failing = model.isReadable ? "" : "new item";
        }
        RC_ASSERT(shown(*server) == std::vector<std::string>(model.history.begin(), model.history.end()));
    }
    RC_TAG(steps.size() > 30 ? "long" : "short");
}

/// What a run hands over.
class Chunks final : public OVShellCommandDelegate {
  public:
    void shellCommandHasOutputAvailable(std::optional<std::string_view> chunk) override {
        chunks.push_back(chunk ? std::optional<std::string>(*chunk) : std::nullopt);
    }
    bool shellCommandShouldCancel() override { return false; }
    std::vector<std::optional<std::string>> chunks;
};

/// The system's calls with a pipe of the test's: each read finds what the last write left, and no more.
class PiecewiseCalls final : public PosixSystemCalls {
  public:
    explicit PiecewiseCalls(std::deque<std::string> pieces) : pieces_(std::move(pieces)) {}
    int poll(pollfd* /*descriptors*/, nfds_t /*count*/, int /*milliseconds*/) override { return 1; }
    ssize_t read(int /*descriptor*/, void* buffer, std::size_t size) override {
        RC_ASSERT(size == 2048U);
        if (pieces_.empty()) {
            return 0;
        }
        std::string& piece = pieces_.front();
        const std::size_t count = piece.copy(static_cast<char*>(buffer), size);
        piece.erase(0, count);
        if (piece.empty()) {
            pieces_.pop_front();
        }
        return static_cast<ssize_t>(count);
    }

  private:
    std::deque<std::string> pieces_;
};

RC_GTEST_PROP(ShellCommandProperty, HandsOverEachReadAsItIsOrAsNothing, ()) {
    const auto piece = rc::gen::nonEmpty(rc::gen::oneOf(
        rc::gen::arbitrary<std::string>(), rc::gen::map(rc::gen::inRange<std::size_t>(1, 700), [](std::size_t count) {
            std::string text;
            for (std::size_t index = 0; index < count; ++index) {
                text += index % 7 == 0 ? "\xF0\x9F\x98\x80" : "\xE2\x82\xAC";
            }
            return text;
        })));
    const auto pieces = *rc::gen::container<std::vector<std::string>>(piece);
    std::vector<std::optional<std::string>> wanted;
    for (const std::string& text : pieces) {
        for (std::size_t at = 0; at < text.size(); at += 2048) {
            const std::string chunk = text.substr(at, 2048);
            wanted.push_back(isValidUTF8(chunk) ? std::optional(chunk) : std::nullopt);
        }
    }
    PiecewiseCalls calls({pieces.begin(), pieces.end()});
    Chunks owner;
    OVShellCommand command(calls);
    RC_ASSERT(command.runCommandAtPath("/bin/true", {}, &owner) == OVShellCommandSuccess);
    RC_ASSERT(owner.chunks == wanted);
}

} // namespace
} // namespace orvane::test
