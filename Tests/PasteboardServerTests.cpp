#include "Pasteboard/OVPasteboardServer.h"

#include "Tests/Fakes/FakePasteboard.h"
#include "Tests/Fakes/RecordingLog.h"
#include "Tests/TaskRunnerTestSupport.h"

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <limits>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace orvane {
namespace {

using test::FakeContent;
using test::FakeData;
using test::FakePasteboard;
using Lines = std::vector<std::string>;

constexpr const char* kText = "public.utf8-plain-text";
constexpr const char* kCopying = "-[OVPasteboardServer pasteboardItemByCopyingPasteboardItem:]";

std::shared_ptr<FakeData> data(const std::string& bytes) {
    return std::make_shared<FakeData>(bytes);
}

/// "0 1 2" for three items with these texts.
std::string joined(const Lines& texts) {
    std::string all;
    for (const std::string& text : texts) {
        all += (all.empty() ? "" : " ") + text;
    }
    return all;
}

std::shared_ptr<FakePasteboard> fake(const std::shared_ptr<Pasteboard>& pasteboard) {
    return std::dynamic_pointer_cast<FakePasteboard>(pasteboard);
}

/// What the entries hold, newest first.
Lines history(const OVPasteboardServer& server) {
    Lines entries;
    for (const auto& pasteboard : *server.pasteboards()) {
        entries.push_back(joined(fake(pasteboard)->texts()));
    }
    return entries;
}

/// What the entries hold, type by type and with the bytes.
std::string described(const std::vector<FakeContent>& content) {
    std::string text;
    for (const FakeContent& item : content) {
        text += "[";
        for (const auto& [type, bytes] : item) {
            text += type + "=" + std::string(bytes->bytes()) + ";";
        }
        text += "]";
    }
    return text;
}

void expectMethodMessage(const std::string& message, const std::string& method, const std::string& text) {
    const std::string start = method + " [Line ";
    ASSERT_TRUE(message.starts_with(start)) << message;
    const std::size_t end = message.find_first_not_of("0123456789", start.size());
    EXPECT_GT(end, start.size()) << message;
    EXPECT_EQ(message.substr(std::min(end, message.size())), "] " + text);
}

constexpr std::chrono::milliseconds kNotYet(20); // long enough for what nothing holds up
constexpr std::chrono::seconds kPatience(10);

/// Another thread.
class Rival {
  public:
    explicit Rival(const std::function<void()>& work)
        : thread_([this, work] {
              started_ = true;
              work();
              finished_ = true;
          }) {
        waitFor(started_, kPatience);
    }
    Rival(const Rival&) = delete;
    Rival& operator=(const Rival&) = delete;
    ~Rival() { thread_.join(); }

    bool finishesWithin(std::chrono::milliseconds patience) const { return waitFor(finished_, patience); }

    static bool waitFor(const std::atomic<bool>& flag, std::chrono::milliseconds patience) {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!flag && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return flag;
    }

  private:
    std::atomic<bool> started_{false};
    std::atomic<bool> finished_{false};
    std::thread thread_; // starts last
};

/// A server on a clipboard that holds "0".
class PasteboardServer : public ::testing::Test {
  protected:
    PasteboardServer() { service.general->put("0"); }

    std::shared_ptr<OVPasteboardServer> makeServer() { return OVPasteboardServer::create(service, loop); }

    /// The user copies a text, and the timer fires.
    void copy(const std::string& text) {
        service.general->put(text);
        loop.fire();
    }

    /// Copies the texts "1", "2" and so on.
    void copyTimes(int times) {
        for (int number = 1; number <= times; ++number) {
            copy(std::to_string(number));
        }
    }

    test::FakePasteboardService service;
    test::FakeRunLoop loop;
    testing::RecordingLog log;
};

using PasteboardInit = PasteboardServer;
using PasteboardPolling = PasteboardServer;
using PasteboardReading = PasteboardServer;
using PasteboardCopying = PasteboardServer;
using PasteboardRestoring = PasteboardServer;
using PasteboardClearing = PasteboardServer;
using PasteboardLocking = PasteboardServer;
using PasteboardFailures = PasteboardServer;

// The start.

TEST_F(PasteboardInit, TakesTheClipboardAsItsFirstEntry) {
    const auto server = makeServer();
    EXPECT_EQ(history(*server), Lines{"0"});
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(PasteboardInit, AnEmptyClipboardIsAnEntry) {
    service.general->put(std::vector<FakeContent>{});
    const auto server = makeServer();
    EXPECT_EQ(history(*server), Lines{""});
}

TEST_F(PasteboardInit, StoresTheCountThenReadsThenAddsTheTimer) {
    loop.adding = [&] { service.note("timer"); };
    const auto server = makeServer();
    EXPECT_EQ(service.takeEvents(),
              (Lines{"general change count", "general read", "new item", "types", std::string("data ") + kText,
                     std::string("set ") + kText, "unique pasteboard", "unique 1 write 1", "timer"}));
}

TEST_F(PasteboardInit, ACopyMadeDuringTheFirstReadingIsANewEntry) {
    service.during = [&](const std::string& event) {
        if (event == "general read") {
            service.during = nullptr;
            service.general->put("1");
        }
    };
    const auto server = makeServer();
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"1", "1"})) << "the count stored is the one before the reading";
}

TEST_F(PasteboardInit, AddsOneTimerOfAQuarterSecond) {
    const auto server = makeServer();
    ASSERT_EQ(loop.timers.size(), 1U);
    EXPECT_EQ(loop.timers[0].first, 0.25);
}

TEST_F(PasteboardInit, TheRunLoopAloneKeepsTheServerAliveAndPolling) {
    auto server = makeServer();
    const std::weak_ptr<OVPasteboardServer> watched = server;
    const auto live = server->pasteboards();
    server = nullptr;
    ASSERT_FALSE(watched.expired());
    copy("1");
    EXPECT_EQ(live->size(), 2U);
    loop.timers.clear();
    EXPECT_TRUE(watched.expired()) << "nothing else holds it, itself included";
}

TEST_F(PasteboardInit, WithoutARunLoopTheHistoryStaysAsItWasMade) {
    loop.runs = false;
    const auto server = makeServer();
    EXPECT_EQ(server.use_count(), 1);
    EXPECT_EQ(history(*server), Lines{"0"});
    service.general->put("1");
    loop.fire();
    EXPECT_EQ(history(*server), Lines{"0"});
    server->pollPasteboard(); // as a timer of the owner's does
    EXPECT_EQ(history(*server), (Lines{"1", "0"}));
}

TEST_F(PasteboardInit, TheEndReleasesTheHistoryAndLeavesItsContent) {
    auto server = makeServer();
    const auto entry = fake(server->pasteboards()->front());
    ASSERT_EQ(entry.use_count(), 2);
    loop.timers.clear();
    server = nullptr;
    EXPECT_EQ(entry.use_count(), 1);
    EXPECT_EQ(joined(entry->texts()), "0");
}

TEST_F(PasteboardInit, TheHistoryIsOneLiveArray) {
    auto server = makeServer();
    const auto live = server->pasteboards();
    copy("1");
    EXPECT_EQ(live->size(), 2U);
    server->clearHistory();
    EXPECT_TRUE(live->empty());
    EXPECT_EQ(server->pasteboards(), live);
    loop.timers.clear();
    server = nullptr;
    EXPECT_TRUE(live->empty()) << "it outlives the server in the hands of who asked for it";
}

// Polling.

TEST_F(PasteboardPolling, AnUnchangedClipboardCostsOneQuestion) {
    const auto server = makeServer();
    service.takeEvents();
    constexpr std::size_t kPolls = 1000;
    for (std::size_t poll = 0; poll < kPolls; ++poll) {
        loop.fire();
    }
    EXPECT_EQ(service.takeEvents(), Lines(kPolls, "general change count"));
    EXPECT_EQ(history(*server), Lines{"0"});
}

TEST_F(PasteboardPolling, AChangeIsReadOnce) {
    const auto server = makeServer();
    copy("1");
    loop.fire();
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"1", "0"}));
}

TEST_F(PasteboardPolling, ChangesBetweenTwoPollsAreOneEntry) {
    const auto server = makeServer();
    service.general->put("1");
    copy("2");
    EXPECT_EQ(history(*server), (Lines{"2", "0"}));
}

TEST_F(PasteboardPolling, ACountThatGoesDownIsAChangeToo) {
    const auto server = makeServer();
    for (const NSInteger count : {NSInteger{3}, NSInteger{-1}, NSInteger{0}, std::numeric_limits<NSInteger>::max(),
                                  std::numeric_limits<NSInteger>::min()}) {
        server->clearHistory();
        service.general->setChangeCount(count);
        loop.fire();
        EXPECT_EQ(history(*server), Lines{"0"}) << count;
        loop.fire();
        EXPECT_EQ(server->pasteboards()->size(), 1U) << count;
    }
}

TEST_F(PasteboardPolling, ACopyMadeDuringTheReadingIsReadByTheNextPoll) {
    const auto server = makeServer();
    service.general->put("1");
    service.during = [&](const std::string& event) {
        if (event == "general read") {
            service.during = nullptr;
            service.general->put("2");
        }
    };
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"2", "0"}));
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"2", "2", "0"})) << "the count stored is the one that was compared";
}

TEST_F(PasteboardPolling, ThePollComparesBeforeAndStoresAfterTheReading) {
    const auto server = makeServer();
    service.general->put("1");
    bool nested = false;
    service.during = [&](const std::string& event) {
        if (event == "general read" && !nested) {
            nested = true;
            loop.fire(); // the count is not stored yet
        }
    };
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"1", "1", "0"}));
}

// Reading.

TEST_F(PasteboardReading, TheSameTextTwiceIsTwoEntries) {
    const auto server = makeServer();
    copy("again");
    copy("again");
    EXPECT_EQ(history(*server), (Lines{"again", "again", "0"}));
}

TEST_F(PasteboardReading, AChangeThatLeavesNothingToReadIsAnEmptyEntry) {
    const auto server = makeServer();
    service.general->put(std::vector<FakeContent>{});
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"", "0"}));
}

TEST_F(PasteboardReading, TheTenthChangeRecyclesTheOldestPasteboard) {
    const auto server = makeServer();
    copyTimes(9);
    const std::vector<std::shared_ptr<Pasteboard>> before = *server->pasteboards();
    ASSERT_EQ(history(*server), (Lines{"9", "8", "7", "6", "5", "4", "3", "2", "1", "0"}));
    service.takeEvents();
    copy("10");
    EXPECT_EQ(history(*server), (Lines{"10", "9", "8", "7", "6", "5", "4", "3", "2", "1"}));
    const auto& now = *server->pasteboards();
    ASSERT_EQ(now.size(), 10U);
    EXPECT_EQ(now[0], before[9]);
    for (std::size_t index = 1; index < now.size(); ++index) {
        EXPECT_EQ(now[index], before[index - 1]) << index;
    }
    EXPECT_EQ(service.takeEvents(),
              (Lines{"general change count", "general read", "new item", "types", std::string("data ") + kText,
                     std::string("set ") + kText, "unique 1 clear", "unique 1 write 1"}));
}

TEST_F(PasteboardReading, NeverHoldsMoreThanTenNorMakesMorePasteboards) {
    const auto server = makeServer();
    copyTimes(35);
    EXPECT_EQ(history(*server), (Lines{"35", "34", "33", "32", "31", "30", "29", "28", "27", "26"}));
    EXPECT_EQ(service.made.size(), 10U);
}

TEST_F(PasteboardReading, NineEntriesGetANewPasteboard) {
    const auto server = makeServer();
    copyTimes(9);
    server->restoreItemsFromPasteboard(server->pasteboards()->at(4));
    ASSERT_EQ(server->pasteboards()->size(), 9U);
    loop.fire();
    EXPECT_EQ(server->pasteboards()->size(), 10U);
    EXPECT_EQ(fake(server->pasteboards()->front())->name, "unique 11");
}

TEST_F(PasteboardReading, AllIsReadBeforeTheHistoryIsTouchedAndTheNewEntryInItBeforeItIsWritten) {
    const auto server = makeServer();
    std::map<std::string, std::size_t> lengths;
    service.during = [&](const std::string& event) { lengths[event] = server->pasteboards()->size(); };
    copy("1");
    EXPECT_EQ(lengths, (std::map<std::string, std::size_t>{{"general change count", 1},
                                                           {"general read", 1},
                                                           {"new item", 1},
                                                           {"types", 1},
                                                           {std::string("data ") + kText, 1},
                                                           {std::string("set ") + kText, 1},
                                                           {"unique pasteboard", 1},
                                                           {"unique 2 write 1", 2}}));
}

TEST_F(PasteboardReading, ItemsThatTheEntryDoesNotTakeStillCostAnEntry) {
    const auto server = makeServer();
    const auto stubborn = std::make_shared<FakePasteboard>(service, "stubborn");
    stubborn->takesItems = false;
    service.unique = stubborn;
    copy("1");
    EXPECT_EQ(history(*server), (Lines{"", "0"}));
    loop.fire();
    EXPECT_EQ(server->pasteboards()->size(), 2U) << "the reading counts as done";
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(PasteboardReading, CopiesEveryItemInOrder) {
    const auto server = makeServer();
    service.general->put({test::textContent("a"), test::textContent("b"), {}, test::textContent("c")});
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"a b (none) c", "0"}));
}

TEST_F(PasteboardReading, MayBeDoneWithoutAChange) {
    const auto server = makeServer();
    server->readItemsFromPasteboard();
    EXPECT_EQ(history(*server), (Lines{"0", "0"}));
}

// Copying an item.

TEST_F(PasteboardCopying, CopiesAllTypesInOrder) {
    const auto server = makeServer();
    const std::string binary("\0\xFF\0", 3);
    service.general->put({{{"public.rtf", data("{rtf}")}, {kText, data("")}, {"dyn.private", data(binary)}},
                          {{"public.file-url", data("file:///a")}}});
    loop.fire();
    EXPECT_EQ(described(fake(server->pasteboards()->front())->content()),
              "[public.rtf={rtf};public.utf8-plain-text=;dyn.private=" + binary + ";][public.file-url=file:///a;]");
    EXPECT_TRUE(log.messages.empty());
}

TEST_F(PasteboardCopying, ATypeWithoutDataIsLoggedAndSkipped) {
    service.general->put({{{kText, data("text")}, {"com.example.promised", nullptr}, {"public.rtf", data("{rtf}")}}});
    const auto server = makeServer();
    EXPECT_EQ(described(fake(server->pasteboards()->front())->content()),
              "[public.utf8-plain-text=text;public.rtf={rtf};]");
    ASSERT_EQ(log.messages.size(), 1U);
    expectMethodMessage(log.messages[0], kCopying, "ERROR: no data for type com.example.promised");
}

TEST_F(PasteboardCopying, DataThatTheCopyDoesNotTakeIsLoggedAndSkipped) {
    service.refusedTypes = {"not a type"};
    service.general->put({{{"not a type", data("12345")}, {kText, data("text")}}});
    const auto server = makeServer();
    EXPECT_EQ(described(fake(server->pasteboards()->front())->content()), "[public.utf8-plain-text=text;]");
    ASSERT_EQ(log.messages.size(), 1U);
    expectMethodMessage(log.messages[0], kCopying, "ERROR setting data <5 bytes> for type not a type");
}

TEST_F(PasteboardCopying, AnItemOfWhichNothingCouldBeCopiedIsWrittenAllTheSame) {
    service.refusedTypes = {"refused"};
    service.general->put({{{"missing", nullptr}, {"refused", data("x")}}, test::textContent("next")});
    const auto server = makeServer();
    EXPECT_EQ(history(*server), Lines{"(none) next"});
    EXPECT_EQ(log.messages.size(), 2U);
}

TEST_F(PasteboardCopying, DataIsHandedOnAndNotDuplicated) {
    service.general->put({{{kText, data("text")}, {"public.rtf", data("{rtf}")}}});
    const auto server = makeServer();
    const auto copied = fake(server->pasteboards()->front())->content();
    ASSERT_EQ(service.handedOut.size(), 2U) << "each type is asked for once";
    ASSERT_EQ(copied.size(), 1U);
    EXPECT_EQ(copied[0].at(0).second, service.handedOut[0].lock());
    EXPECT_EQ(copied[0].at(1).second, service.handedOut[1].lock());
}

TEST_F(PasteboardCopying, TheCopyIsNewAndIndependent) {
    const auto server = makeServer();
    service.general->put("text");
    const auto item = service.general->readItems()->at(0);
    const auto copied = server->pasteboardItemByCopyingPasteboardItem(item);
    ASSERT_NE(copied, item);
    service.general->put("other");
    EXPECT_EQ(item->types(), Lines()) << "the original goes with the clipboard's content";
    EXPECT_EQ(copied->types(), Lines{kText});
    EXPECT_EQ((*copied->dataForType(kText))->bytes(), "text");
}

TEST_F(PasteboardCopying, NoItemIsCopiedAsOneWithoutTypes) {
    const auto server = makeServer();
    const auto copied = server->pasteboardItemByCopyingPasteboardItem(nullptr);
    ASSERT_NE(copied, nullptr);
    EXPECT_EQ(copied->types(), Lines());
    EXPECT_TRUE(log.messages.empty());
}

// Restoring.

TEST_F(PasteboardRestoring, MovesTheEntryToTheFrontWithTheNextPoll) {
    const auto server = makeServer();
    copyTimes(3);
    ASSERT_EQ(history(*server), (Lines{"3", "2", "1", "0"}));
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->at(2)));
    EXPECT_EQ(joined(service.general->texts()), "1");
    EXPECT_EQ(history(*server), (Lines{"3", "2", "0"}));
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"1", "3", "2", "0"}));
}

TEST_F(PasteboardRestoring, AFullHistoryStaysFullAndInOrder) {
    const auto server = makeServer();
    copyTimes(9);
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->back()));
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"0", "9", "8", "7", "6", "5", "4", "3", "2", "1"}));
}

TEST_F(PasteboardRestoring, CopiesThenRemovesThenClearsThenWrites) {
    const auto server = makeServer();
    service.general->put({test::textContent("a"), test::textContent("b")});
    loop.fire();
    service.takeEvents();
    std::vector<std::pair<std::string, std::size_t>> lengths;
    service.during = [&](const std::string& event) { lengths.emplace_back(event, server->pasteboards()->size()); };
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->front()));
    const std::string get = std::string("data ") + kText;
    const std::string set = std::string("set ") + kText;
    const std::vector<std::pair<std::string, std::size_t>> expected = {
        {"unique 2 items", 2}, {"new item", 2}, {"types", 2}, {get, 2}, {set, 2},
        {"new item", 2},       {"types", 2},    {get, 2},     {set, 2}, {"general clear", 1},
        {"general write 2", 1}};
    EXPECT_EQ(lengths, expected);
    EXPECT_EQ(joined(service.general->texts()), "a b");
}

TEST_F(PasteboardRestoring, KeepsTheContentOfThePasteboardRestored) {
    const auto server = makeServer();
    copy("1");
    const auto entry = fake(server->pasteboards()->front());
    EXPECT_TRUE(server->restoreItemsFromPasteboard(entry));
    EXPECT_EQ(entry.use_count(), 1) << "released";
    EXPECT_EQ(joined(entry->texts()), "1") << "but not from the pasteboard service";
}

TEST_F(PasteboardRestoring, AFailedWriteTakesTheEntryAllTheSame) {
    const auto server = makeServer();
    copy("1");
    service.general->takesItems = false;
    EXPECT_FALSE(server->restoreItemsFromPasteboard(server->pasteboards()->back()));
    EXPECT_EQ(history(*server), Lines{"1"});
}

TEST_F(PasteboardRestoring, TakesEveryEntryOutThatIsEqualToThePasteboard) {
    const auto server = makeServer();
    copyTimes(3);
    const auto other = std::make_shared<FakePasteboard>(service, "other object");
    other->put("restored");
    other->equals = {server->pasteboards()->at(1).get(), server->pasteboards()->at(3).get()};
    EXPECT_TRUE(server->restoreItemsFromPasteboard(other));
    EXPECT_EQ(history(*server), (Lines{"3", "1"}));
}

TEST_F(PasteboardRestoring, APasteboardThatIsNotInTheHistoryIsRestoredToo) {
    const auto server = makeServer();
    const auto other = std::make_shared<FakePasteboard>(service, "other");
    other->put("elsewhere");
    EXPECT_TRUE(server->restoreItemsFromPasteboard(other));
    EXPECT_EQ(joined(service.general->texts()), "elsewhere");
    EXPECT_EQ(history(*server), Lines{"0"});
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"elsewhere", "0"}));
}

TEST_F(PasteboardRestoring, EveryOccurrenceGoes) {
    const auto server = makeServer();
    const auto twice = std::make_shared<FakePasteboard>(service, "twice");
    service.unique = twice;
    copy("1");
    service.unique = nullptr;
    copy("2");
    service.unique = twice;
    copy("3");
    ASSERT_EQ(server->pasteboards()->size(), 4U);
    // By the history's own element, which moves when it is removed.
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->front()));
    EXPECT_EQ(history(*server), (Lines{"2", "0"}));
}

TEST_F(PasteboardRestoring, AnEmptyEntryEmptiesTheClipboard) {
    service.general->put(std::vector<FakeContent>{});
    const auto server = makeServer();
    copy("1");
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->back()));
    EXPECT_TRUE(service.general->texts().empty());
}

TEST_F(PasteboardRestoring, MissingDataIsLoggedAndTheRestRestored) {
    const auto server = makeServer();
    const auto entry = fake(server->pasteboards()->front());
    entry->put({{{"lost", nullptr}, {kText, data("left")}}});
    EXPECT_TRUE(server->restoreItemsFromPasteboard(entry));
    EXPECT_EQ(described(service.general->content()), "[public.utf8-plain-text=left;]");
    ASSERT_EQ(log.messages.size(), 1U);
    expectMethodMessage(log.messages[0], kCopying, "ERROR: no data for type lost");
}

TEST_F(PasteboardRestoring, NoPasteboardHasNoItemsAndEmptiesTheClipboard) {
    const auto server = makeServer();
    service.takeEvents();
    EXPECT_TRUE(server->restoreItemsFromPasteboard(nullptr));
    EXPECT_EQ(service.takeEvents(), (Lines{"general clear", "general write 0"}));
    EXPECT_TRUE(service.general->content().empty());
    EXPECT_EQ(history(*server), Lines{"0"});
    service.general->takesItems = false;
    EXPECT_FALSE(server->restoreItemsFromPasteboard(nullptr)) << "the result is that of writing";
    EXPECT_TRUE(log.messages.empty());
    loop.fire();
    EXPECT_EQ(history(*server), (Lines{"", "0"}));
}

// Clearing.

TEST_F(PasteboardClearing, TheClipboardComesBackOnlyWhenItChanges) {
    const auto server = makeServer();
    copyTimes(4);
    service.takeEvents();
    server->clearHistory();
    EXPECT_TRUE(server->pasteboards()->empty());
    loop.fire();
    EXPECT_TRUE(server->pasteboards()->empty());
    EXPECT_EQ(service.takeEvents(), Lines{"general change count"}) << "and no pasteboard was touched";
    copy("5");
    EXPECT_EQ(history(*server), Lines{"5"});
}

TEST_F(PasteboardClearing, ReleasesTheEntriesAndLeavesTheirContent) {
    const auto server = makeServer();
    copyTimes(2);
    const auto entry = fake(server->pasteboards()->front());
    server->clearHistory();
    EXPECT_EQ(entry.use_count(), 1);
    EXPECT_EQ(joined(entry->texts()), "2");
    EXPECT_TRUE(service.made[0].expired());
}

TEST_F(PasteboardClearing, AnEmptyHistoryMayBeCleared) {
    const auto server = makeServer();
    server->clearHistory();
    server->clearHistory();
    EXPECT_TRUE(server->pasteboards()->empty());
}

// Pasteboards that call back.

/// A pasteboard that does something when it is released.
std::shared_ptr<FakePasteboard> talkative(test::FakePasteboardService& service, std::function<void()> goodbye) {
    return {new FakePasteboard(service, "talkative"), [goodbye](FakePasteboard* pasteboard) {
                goodbye();
                delete pasteboard; // NOLINT(cppcoreguidelines-owning-memory): as the pointer's own deleter does
            }};
}

TEST_F(PasteboardClearing, APasteboardMayComeBackWhenItIsReleased) {
    const auto server = makeServer();
    std::size_t seen = 99;
    service.unique = talkative(service, [&] {
        seen = server->pasteboards()->size();
        server->clearHistory();
    });
    copy("1");
    service.unique = nullptr;
    server->clearHistory();
    EXPECT_EQ(seen, 0U);
}

TEST_F(PasteboardRestoring, APasteboardMayComeBackWhenItIsReleased) {
    const auto server = makeServer();
    Lines seen;
    service.unique = talkative(service, [&] {
        seen = history(*server);
        const Rival rival([&] { server->clearHistory(); });
        EXPECT_TRUE(rival.finishesWithin(kPatience)) << "the lock is let go";
    });
    copy("1");
    service.unique = nullptr;
    copy("2");
    ASSERT_EQ(history(*server), (Lines{"2", "1", "0"}));
    const auto other = std::make_shared<FakePasteboard>(service, "other object");
    other->put("1");
    other->equals = {server->pasteboards()->at(1).get()};
    EXPECT_TRUE(server->restoreItemsFromPasteboard(other));
    EXPECT_EQ(seen, (Lines{"2", "0"})) << "a whole list without the entry";
    EXPECT_EQ(joined(service.general->texts()), "1");
    EXPECT_TRUE(server->pasteboards()->empty());
}

TEST_F(PasteboardRestoring, APasteboardMayComeBackWhenItIsAskedWhetherItIsTheOne) {
    const auto server = makeServer();
    copyTimes(9);
    const auto restored = server->pasteboards()->at(5);
    fake(restored)->asked = [&] { server->clearHistory(); };
    EXPECT_TRUE(server->restoreItemsFromPasteboard(restored));
    EXPECT_TRUE(server->pasteboards()->empty());
    EXPECT_EQ(joined(service.general->texts()), "4");
}

TEST_F(PasteboardReading, APasteboardMayComeBackWhenItIsRecycled) {
    const auto server = makeServer();
    for (const std::string what : {"clear", "restore", "read"}) {
        SCOPED_TRACE(what);
        server->clearHistory();
        copyTimes(10);
        std::size_t seen = 0;
        service.during = [&](const std::string& event) {
            if (event.ends_with(" clear") && seen == 0) {
                seen = server->pasteboards()->size();
                if (what == "clear") {
                    server->clearHistory();
                    return;
                }
                service.general->put("nested");
                server->restoreItemsFromPasteboard(server->pasteboards()->at(4));
                if (what == "read") {
                    server->readItemsFromPasteboard();
                }
            }
        };
        copy("11");
        EXPECT_EQ(seen, 10U) << "a whole list";
        EXPECT_EQ(history(*server).front(), "11");
        EXPECT_EQ(server->pasteboards()->size(), what == "clear" ? 1U : what == "restore" ? 9U : 10U);
        const std::set<std::shared_ptr<Pasteboard>> different(server->pasteboards()->begin(),
                                                              server->pasteboards()->end());
        EXPECT_EQ(different.size(), server->pasteboards()->size()) << "none stands there twice";
    }
}

TEST_F(PasteboardReading, AHistoryThatFillsUpWhileThePasteboardIsMadeStaysAtTen) {
    const auto server = makeServer();
    copyTimes(8);
    bool nested = false;
    service.during = [&](const std::string& event) {
        if (event == "unique pasteboard" && !std::exchange(nested, true)) {
            server->readItemsFromPasteboard();
        }
    };
    copy("9");
    EXPECT_EQ(history(*server), (Lines{"9", "9", "8", "7", "6", "5", "4", "3", "2", "1"}));
}

// The lock.

using Steps = std::map<std::string, bool>;

TEST_F(PasteboardLocking, ReadingHoldsTheLockThroughout) {
    const auto server = makeServer();
    for (const bool full : {false, true}) {
        SCOPED_TRACE(full);
        if (full) {
            copyTimes(10);
        }
        Steps held;
        std::vector<std::unique_ptr<Rival>> rivals;
        service.during = [&](const std::string& event) {
            rivals.push_back(std::make_unique<Rival>([&] { server->clearHistory(); }));
            held[event] = !rivals.back()->finishesWithin(kNotYet);
        };
        server->readItemsFromPasteboard();
        rivals.clear();
        service.during = nullptr;
        EXPECT_EQ(held.size(), 7U);
        for (const auto& [event, was] : held) {
            EXPECT_TRUE(was) << event;
        }
        EXPECT_TRUE(server->pasteboards()->empty()) << "the others cleared it when it was done";
    }
}

TEST_F(PasteboardLocking, RestoringHoldsNoLockWhileItReadsAndWrites) {
    const auto server = makeServer();
    const auto entry = server->pasteboards()->front();
    Steps free;
    std::vector<std::unique_ptr<Rival>> rivals;
    service.during = [&](const std::string& event) {
        rivals.push_back(std::make_unique<Rival>([&] { server->clearHistory(); }));
        free[event] = rivals.back()->finishesWithin(kPatience);
    };
    EXPECT_TRUE(server->restoreItemsFromPasteboard(entry));
    EXPECT_EQ(free, (Steps{{"unique 1 items", true},
                           {"new item", true},
                           {"types", true},
                           {std::string("data ") + kText, true},
                           {std::string("set ") + kText, true},
                           {"general clear", true},
                           {"general write 1", true}}));
}

TEST_F(PasteboardLocking, RestoringWaitsForTheLockToRemoveTheEntry) {
    const auto server = makeServer();
    const auto entry = server->pasteboards()->front();
    std::atomic<bool> restoring{false};
    std::atomic<bool> clearing{false};
    std::unique_ptr<Rival> rival;
    const std::string set = std::string("set ") + kText;
    service.during = [&](const std::string& event) {
        if (event == "general read") {
            rival = std::make_unique<Rival>([&] { server->restoreItemsFromPasteboard(entry); });
            EXPECT_TRUE(Rival::waitFor(restoring, kPatience)) << "its copies are made without the lock";
            EXPECT_FALSE(Rival::waitFor(clearing, kNotYet)) << "what comes after the removal waits";
        } else if (event == set) {
            restoring = true;
        } else if (event == "general clear") {
            clearing = true;
        }
    };
    server->readItemsFromPasteboard();
    EXPECT_TRUE(rival->finishesWithin(kPatience));
    rival = nullptr;
    EXPECT_TRUE(clearing);
    EXPECT_EQ(history(*server), Lines{"0"}) << "the entry that was read; the restored one is gone";
    EXPECT_NE(server->pasteboards()->front(), entry);
}

TEST_F(PasteboardLocking, AnUneventfulPollTakesNoLock) {
    const auto server = makeServer();
    bool polled = false;
    std::unique_ptr<Rival> rival;
    service.during = [&](const std::string& event) {
        if (event == "types") {
            rival = std::make_unique<Rival>([&] { server->pollPasteboard(); });
            polled = rival->finishesWithin(kPatience);
        }
    };
    server->readItemsFromPasteboard();
    EXPECT_TRUE(polled);
}

TEST_F(PasteboardLocking, TheLockIsRecursive) {
    const auto server = makeServer();
    bool nested = false;
    service.during = [&](const std::string& event) {
        if (event == "types" && !nested) {
            nested = true;
            server->clearHistory();
            server->readItemsFromPasteboard();
        }
    };
    server->readItemsFromPasteboard();
    EXPECT_EQ(history(*server), (Lines{"0", "0"})) << "the outer reading's and, behind it, the nested one's";
}

// Where a pasteboard cannot be read: the system's back end has ended an exception and answered that it failed.

const Lines kReadings = {"general pasteboard", "general read", "new item", "types", "data"};

TEST_F(PasteboardFailures, AReadingThatFailsLeavesTheHistoryAndIsDoneAgainByTheNextPoll) {
    const auto server = makeServer();
    for (const bool full : {false, true}) {
        Lines failures = kReadings;
        failures.emplace_back(full ? " clear" : "unique pasteboard");
        failures.emplace_back("change count");
        for (const std::string& failing : failures) {
            SCOPED_TRACE(failing);
            server->clearHistory();
            copyTimes(full ? 10 : 3);
            const auto before = *server->pasteboards();
            const Lines texts = history(*server);

            service.failing = failing;
            copy("new");
            loop.fire();
            EXPECT_EQ(*server->pasteboards(), before);
            EXPECT_EQ(history(*server), texts) << "also what the entries hold";
            if (failing != "change count") {
                const Rival rival([&] { EXPECT_FALSE(server->readItemsFromPasteboard()); });
                EXPECT_TRUE(rival.finishesWithin(kPatience)) << "the lock is let go";
            }

            service.failing.clear();
            loop.fire();
            loop.fire();
            EXPECT_EQ(server->pasteboards()->size(), full ? 10U : 4U);
            EXPECT_EQ(history(*server).front(), "new");
            EXPECT_EQ(history(*server).at(1), texts.front());
        }
    }
}

TEST_F(PasteboardFailures, AReadingSaysWhetherItSucceeded) {
    const auto server = makeServer();
    EXPECT_TRUE(server->readItemsFromPasteboard());
    for (const std::string& failing : kReadings) {
        service.failing = failing;
        EXPECT_FALSE(server->readItemsFromPasteboard()) << failing;
    }
    service.failing = "write";
    EXPECT_TRUE(server->readItemsFromPasteboard()) << "the clipboard was read, whatever comes of the entry";
    EXPECT_EQ(history(*server), (Lines{"", "0", "0"}));
}

TEST_F(PasteboardFailures, AFirstReadingThatFailsIsMadeUpForByTheFirstPoll) {
    for (const std::string failing : {"change count", "general read", "types", "general pasteboard"}) {
        SCOPED_TRACE(failing);
        loop.timers.clear();
        service.failing = failing;
        const auto server = makeServer();
        EXPECT_EQ(server->pasteboards()->size(), failing == "change count" ? 1U : 0U);
        server->clearHistory();
        service.failing.clear();
        loop.fire();
        loop.fire();
        EXPECT_EQ(history(*server), Lines{"0"}) << "though the count is the same as at the start";
    }
}

TEST_F(PasteboardFailures, AnEntryThatCannotBeReadStaysAndSoDoesTheClipboard) {
    const auto server = makeServer();
    copyTimes(2);
    for (const std::string failing : {"unique 2 items", "new item", "types", "data", "general pasteboard"}) {
        SCOPED_TRACE(failing);
        service.takeEvents();
        service.failing = failing;
        EXPECT_FALSE(server->restoreItemsFromPasteboard(server->pasteboards()->at(1)));
        service.failing.clear();
        EXPECT_EQ(history(*server), (Lines{"2", "1", "0"}));
        EXPECT_EQ(joined(service.general->texts()), "2");
        for (const std::string& event : service.takeEvents()) {
            EXPECT_FALSE(event.starts_with("general ")) << event;
        }
    }
}

TEST_F(PasteboardFailures, AClipboardThatCannotBeClearedIsNotWrittenTo) {
    const auto server = makeServer();
    copyTimes(2);
    service.takeEvents();
    service.failing = "general clear";
    EXPECT_FALSE(server->restoreItemsFromPasteboard(server->pasteboards()->at(1)));
    EXPECT_EQ(service.takeEvents().back(), "general clear");
    EXPECT_EQ(joined(service.general->texts()), "2");
    EXPECT_EQ(history(*server), (Lines{"2", "0"})) << "gone, as with a write that fails";
}

TEST_F(PasteboardFailures, AnItemThatCannotBeReadHasNoCopy) {
    const auto server = makeServer();
    service.general->put({{{kText, data("a")}, {"public.rtf", data("b")}}});
    const auto item = service.general->readItems()->at(0);
    for (const std::string failing : {"new item", "types", "data public.rtf"}) {
        service.failing = failing;
        EXPECT_EQ(server->pasteboardItemByCopyingPasteboardItem(item), nullptr) << failing;
    }
    EXPECT_TRUE(log.messages.empty()) << "who failed has said so";
}

// A lock of the host's.

/// Counts who has it.
class CountingMonitor final : public OVMonitor {
  public:
    explicit CountingMonitor(int& held) : held_(held) {}
    void lock() override {
        mutex_.lock();
        ++held_;
    }
    void unlock() override {
        --held_;
        mutex_.unlock();
    }

  private:
    std::recursive_mutex mutex_;
    int& held_;
};

TEST_F(PasteboardLocking, TheThreeOperationsTakeTheLockThatTheServerWasGiven) {
    int held = 0;
    std::map<std::string, int> seen;
    service.during = [&](const std::string& event) { seen[event] = held; };
    const auto server = OVPasteboardServer::create(service, loop, std::make_unique<CountingMonitor>(held));
    EXPECT_EQ(seen["general change count"], 0);
    EXPECT_EQ(seen["general read"], 1) << "from the first reading on";
    EXPECT_EQ(seen["unique 1 write 1"], 1);
    int asked = 0;
    fake(server->pasteboards()->front())->asked = [&] { asked = held; };
    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->front()));
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(seen["unique 1 items"], 0);
    EXPECT_EQ(seen["general write 1"], 0);
    EXPECT_EQ(held, 0);
    server->clearHistory();
    EXPECT_EQ(held, 0);
}

/// Takes messages from any thread and keeps none.
class SilentLog final : public OVLogSink {
  public:
    SilentLog() : previous_(OVSetLogSink(this)) {}
    ~SilentLog() { OVSetLogSink(previous_); }
    SilentLog(const SilentLog&) = delete;
    SilentLog& operator=(const SilentLog&) = delete;
    void logMessage(const char* /*message*/) override {}

  private:
    OVLogSink* previous_;
};

TEST(PasteboardThreads, AnotherThreadMayRestoreAndClearWhileTheTimerPolls) {
    const SilentLog log; // a pasteboard may be recycled while the other thread reads it
    test::FakePasteboardService service;
    service.notes = false;
    test::FakeRunLoop loop;
    service.general->put("first");
    const auto server = OVPasteboardServer::create(service, loop);

    std::atomic<bool> stop{false};
    std::atomic<int> restored{0};
    {
        const Rival rival([&] {
            for (unsigned int round = 0; !stop; ++round) {
                std::shared_ptr<FakePasteboard> entry;
                {
                    const std::lock_guard lock(service.mutex);
                    entry =
                        service.made[service.made.size() - 1 - round % std::min<std::size_t>(service.made.size(), 12)]
                            .lock();
                }
                if (entry != nullptr) {
                    restored += server->restoreItemsFromPasteboard(entry) ? 1 : 0;
                }
                if (round % 64 == 0) {
                    server->clearHistory();
                }
            }
        });
        for (int round = 0; round < 3000 || (restored < 500 && round < 3000000); ++round) {
            service.general->put(std::to_string(round));
            loop.fire();
        }
        stop = true;
    }
    EXPECT_GT(restored, 0);
    service.general->put("last");
    loop.fire();
    const auto entries = history(*server);
    EXPECT_EQ(entries.at(0), "last");
    EXPECT_LE(entries.size(), 10U);
}

// The runner's operations.

class ClipboardTasks : public PasteboardServer {
  protected:
    ClipboardTasks() { runner.setDelegate(test::unowned<OVTaskDelegate>(owner)); }
    ~ClipboardTasks() override { runner.setPasteboardServer(nullptr); } // which its end does not release

    void expectNoCommand() const {
        EXPECT_TRUE(world.commands.runs.empty());
        EXPECT_TRUE(world.events.empty());
        EXPECT_TRUE(world.calls.order.empty());
        EXPECT_TRUE(owner.chunks.empty());
        EXPECT_EQ(owner.cancelQuestions, 0);
        EXPECT_EQ(owner.taskMessages, 0);
    }

    test::RecordingWorld world;
    test::RecordingDelegate owner;
    OVTaskRunner runner{world.services()};
};

TEST_F(ClipboardTasks, RestoreIsTheServersAnswerAsAStatus) {
    const auto server = makeServer();
    runner.setPasteboardServer(server);
    copyTimes(2);
    EXPECT_EQ(runner.restoreItemsFromPasteboard(server->pasteboards()->at(1)), 0);
    EXPECT_EQ(joined(service.general->texts()), "1");
    service.general->takesItems = false;
    EXPECT_EQ(runner.restoreItemsFromPasteboard(server->pasteboards()->at(0)), 1);
    EXPECT_EQ(history(*server), Lines{"0"});
    expectNoCommand();
}

TEST_F(ClipboardTasks, ClearEmptiesTheHistoryAndIsAlwaysASuccess) {
    const auto server = makeServer();
    runner.setPasteboardServer(server);
    EXPECT_EQ(runner.clearPasteboardHistory(), 0);
    EXPECT_TRUE(server->pasteboards()->empty());
    EXPECT_EQ(runner.clearPasteboardHistory(), 0);
    expectNoCommand();
}

TEST_F(ClipboardTasks, WithoutAServerNothingIsRestoredAndNothingNeedsClearing) {
    const auto pasteboard = std::make_shared<FakePasteboard>(service, "kept");
    EXPECT_EQ(runner.restoreItemsFromPasteboard(pasteboard), 1);
    EXPECT_EQ(runner.restoreItemsFromPasteboard(nullptr), 1);
    EXPECT_EQ(runner.clearPasteboardHistory(), 0);
    EXPECT_EQ(joined(service.general->texts()), "0");
    expectNoCommand();
}

TEST_F(ClipboardTasks, NoPasteboardEmptiesTheClipboard) {
    runner.setPasteboardServer(makeServer());
    EXPECT_EQ(runner.restoreItemsFromPasteboard(nullptr), 0);
    EXPECT_TRUE(service.general->content().empty());
    service.general->takesItems = false;
    EXPECT_EQ(runner.restoreItemsFromPasteboard(nullptr), 1);
}

TEST_F(ClipboardTasks, ACancellingOwnerIsNotAsked) {
    owner.cancels = true;
    const auto server = makeServer();
    runner.setPasteboardServer(server);
    EXPECT_EQ(runner.restoreItemsFromPasteboard(server->pasteboards()->front()), 0);
    EXPECT_EQ(runner.clearPasteboardHistory(), 0);
    expectNoCommand();
}

TEST_F(ClipboardTasks, TheRunnerKeepsTheServer) {
    loop.runs = false;
    auto server = makeServer();
    const std::weak_ptr<OVPasteboardServer> watched = server;
    runner.setPasteboardServer(std::move(server));
    EXPECT_FALSE(watched.expired());
    runner.setPasteboardServer(nullptr);
    EXPECT_TRUE(watched.expired());
}

// Without a desktop.

TEST(HeadlessPasteboard, TheClipboardIsEmptyForEverAndTakesNothing) {
    PasteboardService& service = PasteboardService::platform();
    for (const auto& pasteboard : {service.generalPasteboard(), service.pasteboardWithUniqueName()}) {
        ASSERT_NE(pasteboard, nullptr);
        const auto count = pasteboard->changeCount();
        EXPECT_TRUE(count.has_value());
        EXPECT_FALSE(pasteboard->writeObjects({service.newItem()}));
        EXPECT_FALSE(pasteboard->writeObjects({}));
        EXPECT_TRUE(pasteboard->clearContents());
        EXPECT_EQ(pasteboard->changeCount(), count);
        EXPECT_EQ(pasteboard->readItems(), PasteboardItems());
        EXPECT_EQ(pasteboard->pasteboardItems(), PasteboardItems());
    }
}

TEST(HeadlessPasteboard, AnItemTakesNothing) {
    const auto item = PasteboardService::platform().newItem();
    ASSERT_NE(item, nullptr);
    EXPECT_FALSE(item->setData(data("x"), kText));
    EXPECT_EQ(item->types(), Lines());
    EXPECT_EQ(item->dataForType(kText), std::shared_ptr<const PasteboardData>());
}

TEST(HeadlessPasteboard, AServerHasOneEmptyEntryThatNothingChanges) {
    testing::RecordingLog log;
    const auto server = OVPasteboardServer::create();
    EXPECT_EQ(log.messages, Lines{"There is no run loop: a timer of 0.25 seconds will never fire"});
    ASSERT_EQ(server->pasteboards()->size(), 1U);
    server->pollPasteboard();
    EXPECT_EQ(server->pasteboards()->size(), 1U);
    EXPECT_FALSE(server->restoreItemsFromPasteboard(server->pasteboards()->front()));
    EXPECT_TRUE(server->pasteboards()->empty());
    EXPECT_EQ(server.use_count(), 1);
}

} // namespace
} // namespace orvane
