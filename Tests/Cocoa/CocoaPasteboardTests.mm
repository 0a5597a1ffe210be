#include "Backends/Cocoa/CocoaPasteboard.h"

#include "Pasteboard/OVPasteboardServer.h"
#include "Platform/RunLoop.h"
#include "Tests/Cocoa/CocoaTestSupport.h"
#include "Tests/Cocoa/ReplacedMethod.h"
#include "Tests/Fakes/RecordingLog.h"

#include <gtest/gtest.h>

/// Promises data, and hands out that of one type.
@interface OVPromiser : NSObject <NSPasteboardItemDataProvider>
@end

@implementation OVPromiser
- (void)pasteboard:(NSPasteboard*)pasteboard item:(NSPasteboardItem*)item provideDataForType:(NSString*)type {
    (void)pasteboard;
    if ([type isEqual:@"com.example.kept"]) {
        [item setData:[NSData dataWithBytes:"kept" length:4] forType:type];
    }
}
- (void)pasteboardFinishedWithDataProvider:(NSPasteboard*)pasteboard {
    (void)pasteboard;
}
@end

/// An object of a host's own that stands for a pasteboard by its name.
@interface OVSameName : NSObject {
    NSString* name_;
}
+ (OVSameName*)named:(NSString*)name;
@end

@implementation OVSameName
+ (OVSameName*)named:(NSString*)name {
    OVSameName* const object = [[[self alloc] init] autorelease];
    object->name_ = [name copy];
    return object;
}
- (void)dealloc {
    [name_ release];
    [super dealloc];
}
- (BOOL)isEqual:(id)other {
    return [other respondsToSelector:@selector(name)] && [name_ isEqual:[other name]];
}
- (NSUInteger)hash {
    return [name_ hash];
}
@end

namespace orvane::test {

namespace {

using namespace cocoa;

constexpr const char* kText = "public.utf8-plain-text";
constexpr const char* kOther = "com.example.other";

std::shared_ptr<const PasteboardData> dataOf(const std::string& bytes) {
    return std::make_shared<CocoaPasteboardData>([NSData dataWithBytes:bytes.data() length:bytes.size()]);
}

std::shared_ptr<PasteboardItem> itemOf(const std::vector<std::pair<std::string, std::string>>& content) {
    const auto item = PasteboardService::platform().newItem();
    for (const auto& [type, bytes] : content) {
        EXPECT_TRUE(item->setData(dataOf(bytes), type));
    }
    return item;
}

std::string bytesOf(PasteboardItem& item, const std::string& type) {
    const auto data = item.dataForType(type);
    return data ? (*data ? std::string((*data)->bytes()) : "(no data)") : "(failed)";
}

/// The bytes of that type of all items.
std::vector<std::string> textsOf(Pasteboard& pasteboard, const std::string& type = kText) {
    std::vector<std::string> texts;
    const auto items = pasteboard.pasteboardItems();
    for (const auto& item : items ? *items : PasteboardItems()) {
        texts.push_back(bytesOf(*item, type));
    }
    return items ? texts : std::vector<std::string>{"(failed)"};
}

PasteboardItems readItems(Pasteboard& pasteboard) {
    const auto items = pasteboard.readItems();
    EXPECT_TRUE(items.has_value());
    return items ? *items : PasteboardItems();
}

std::vector<std::string> one(const std::string& text) {
    return {text};
}

class CocoaPasteboardTest : public ::testing::Test {
  protected:
    void SetUp() override { EXPECT_TRUE(general->clearContents()); }

    /// As a user does.
    void copy(const std::string& text) {
        EXPECT_TRUE(general->clearContents());
        EXPECT_TRUE(general->writeObjects({itemOf({{kText, text}})}));
    }

    PasteboardService& service = PasteboardService::platform();
    const std::shared_ptr<Pasteboard> general = service.generalPasteboard();
};

/// Keeps the timer's action to itself: the tests poll.
class NoRunLoop final : public RunLoop {
  public:
    bool addRepeatingTimer(double /*seconds*/, std::function<void()> /*action*/) override { return true; }
};

} // namespace

TEST_F(CocoaPasteboardTest, AClearedPasteboardHasNoItems) {
    EXPECT_EQ(general->readItems(), PasteboardItems());
    EXPECT_EQ(general->pasteboardItems(), PasteboardItems());
}

TEST_F(CocoaPasteboardTest, AnItemComesBackWithItsTypesInOrderAndTheirBytes) {
    const std::string bytes("a\0\xFF", 3);
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "gr\xC3\xBCn"}, {kOther, bytes}, {"a.third", ""}})}));

    const PasteboardItems items = readItems(*general);

    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0]->types(), (std::vector<std::string>{kText, kOther, "a.third"}));
    EXPECT_EQ(bytesOf(*items[0], kText), "gr\xC3\xBCn");
    EXPECT_EQ(bytesOf(*items[0], kOther), bytes);
    EXPECT_EQ(bytesOf(*items[0], "a.third"), "");
    EXPECT_EQ(bytesOf(*items[0], "missing"), "(no data)");
    EXPECT_EQ(bytesOf(*items[0], "\xFF"), "(no data)");
}

TEST_F(CocoaPasteboardTest, SeveralItemsComeBackInOrder) {
    ASSERT_TRUE(general->writeObjects(
        {itemOf({{kText, "first"}}), itemOf({{kText, "second"}, {kOther, "more"}}), itemOf({{kOther, "third"}})}));

    const PasteboardItems items = readItems(*general);

    ASSERT_EQ(items.size(), 3U);
    EXPECT_EQ(items[1]->types(), (std::vector<std::string>{kText, kOther}));
    EXPECT_EQ(textsOf(*general), (std::vector<std::string>{"first", "second", "(no data)"}));
    EXPECT_EQ(textsOf(*general, kOther), (std::vector<std::string>{"(no data)", "more", "third"}));
}

TEST_F(CocoaPasteboardTest, ASecondWritingAddsToTheContent) {
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "first"}})}));
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "second"}})}));

    EXPECT_EQ(textsOf(*general), (std::vector<std::string>{"first", "second"}));
}

TEST_F(CocoaPasteboardTest, AnotherProcessPastesWhatWasWritten) {
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "gr\xC3\xBCn"}}), itemOf({{kText, "second"}})}));

    EXPECT_EQ(runProbe({"paste", kText}).output, "gr\xC3\xBCn");
}

TEST_F(CocoaPasteboardTest, TheCountMovesWhenAnotherProcessCopies) {
    const auto before = general->changeCount();
    ASSERT_TRUE(before.has_value());
    EXPECT_EQ(general->changeCount(), before);

    ASSERT_EQ(runProbe({"copy", kText, "from elsewhere"}).status, 0);

    EXPECT_NE(general->changeCount(), before);
    EXPECT_EQ(textsOf(*general), one("from elsewhere"));
}

TEST_F(CocoaPasteboardTest, TheCountMovesWhenTheContentIsClearedOrWritten) {
    const auto before = general->changeCount();
    ASSERT_TRUE(before.has_value());
    EXPECT_TRUE(general->clearContents());
    const auto cleared = general->changeCount();
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "text"}})}));

    EXPECT_NE(cleared, before);
    EXPECT_NE(general->changeCount(), cleared);
}

TEST_F(CocoaPasteboardTest, AnItemIsWrittenOnce) {
    const auto item = itemOf({{kText, "text"}});
    ASSERT_TRUE(general->writeObjects({item}));

    EXPECT_FALSE(service.pasteboardWithUniqueName()->writeObjects({item}));
    EXPECT_FALSE(service.pasteboardWithUniqueName()->writeObjects(readItems(*general)));
    EXPECT_EQ(textsOf(*general), one("text"));
}

TEST_F(CocoaPasteboardTest, AnItemOfAnEarlierContentHasNothingToSay) {
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "early"}})}));
    const PasteboardItems items = readItems(*general);
    ASSERT_EQ(runProbe({"copy", kText, "late"}).status, 0);

    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0]->types(), one(kText));
    EXPECT_EQ(bytesOf(*items[0], kText), "(no data)");
    EXPECT_FALSE(items[0]->setData(dataOf("changed"), kText));
}

TEST_F(CocoaPasteboardTest, PasteboardsWithUniqueNamesAreApart) {
    const auto first = service.pasteboardWithUniqueName();
    const auto second = service.pasteboardWithUniqueName();
    ASSERT_TRUE(first->writeObjects({itemOf({{kText, "first"}})}));
    ASSERT_TRUE(second->writeObjects({itemOf({{kText, "second"}})}));

    EXPECT_EQ(textsOf(*first), one("first"));
    EXPECT_EQ(textsOf(*second), one("second"));
    EXPECT_EQ(general->readItems(), PasteboardItems());
    const std::string elsewhere = runProbe({"unique-name"}).output;
    EXPECT_NE(elsewhere, "");
    EXPECT_NE(elsewhere, textOf([static_cast<CocoaPasteboard&>(*first).pasteboard() name]));
    EXPECT_NE(elsewhere, textOf([static_cast<CocoaPasteboard&>(*second).pasteboard() name]));
}

TEST_F(CocoaPasteboardTest, DataIsHeldAndNeverCopied) {
    const std::string large(100000, 'x');
    const auto data = dataOf(large);
    const auto item = service.newItem();
    ASSERT_TRUE(item->setData(data, kText));

    EXPECT_EQ((*item->dataForType(kText))->bytes().data(), data->bytes().data());
}

TEST_F(CocoaPasteboardTest, ALateTypeComesLastAndNewDataKeepsItsPlace) {
    const auto item = itemOf({{kText, "old"}, {kOther, "other"}});
    ASSERT_TRUE(item->setData(dataOf("new"), kText));

    EXPECT_EQ(item->types(), (std::vector<std::string>{kText, kOther}));
    EXPECT_EQ(bytesOf(*item, kText), "new");
    EXPECT_FALSE(item->setData(nullptr, "a.third"));
}

TEST_F(CocoaPasteboardTest, TheDescriptionOfDataIsShort) {
    EXPECT_EQ(dataOf("abc")->description(), "<616263>");
    EXPECT_LT(dataOf(std::string(1000000, 'x'))->description().size(), 120U);
    EXPECT_NE(dataOf(std::string(1000000, 'x'))->description().find("1000000 bytes"), std::string::npos);
}

TEST_F(CocoaPasteboardTest, TwoObjectsOfOnePasteboardAreEqual) {
    const auto entry = service.pasteboardWithUniqueName();
    NSPasteboard* const pasteboard = static_cast<CocoaPasteboard&>(*entry).pasteboard();

    EXPECT_TRUE(entry->isEqual(*entry));
    EXPECT_TRUE(entry->isEqual(CocoaPasteboard(pasteboard)));
    EXPECT_TRUE(entry->isEqual(CocoaPasteboard([NSPasteboard pasteboardWithName:[pasteboard name]])));
    EXPECT_TRUE(CocoaPasteboard(static_cast<NSPasteboard*>([OVSameName named:[pasteboard name]])).isEqual(*entry));
    EXPECT_FALSE(entry->isEqual(*service.pasteboardWithUniqueName()));
    EXPECT_FALSE(entry->isEqual(*general));
    const Raising raising([OVSameName class], @selector(isEqual:));
    const testing::RecordingLog log;
    EXPECT_FALSE(CocoaPasteboard(static_cast<NSPasteboard*>([OVSameName named:[pasteboard name]])).isEqual(*entry));
    EXPECT_EQ(log.messages, one("OVTestException: raised"));
}

TEST_F(CocoaPasteboardTest, AnExceptionIsLoggedAndAnsweredWithNothing) {
    copy("text");
    const PasteboardItems items = readItems(*general);
    const auto pasteboard = service.pasteboardWithUniqueName();
    testing::RecordingLog log;
    {
        const Raising raising([NSPasteboard class], @selector(changeCount));
        EXPECT_EQ(general->changeCount(), std::nullopt);
        EXPECT_EQ(bytesOf(*items.at(0), kText), "(failed)");
    }
    {
        const Raising raising([NSPasteboard class], @selector(readObjectsForClasses:options:));
        EXPECT_EQ(general->readItems(), std::nullopt);
    }
    {
        const Raising raising([NSPasteboard class], @selector(pasteboardItems));
        EXPECT_EQ(general->readItems(), std::nullopt);
        EXPECT_EQ(general->pasteboardItems(), std::nullopt);
    }
    {
        const Raising raising([NSPasteboard class], @selector(clearContents));
        EXPECT_FALSE(general->clearContents());
    }
    {
        const Raising raising([NSPasteboard class], @selector(writeObjects:));
        EXPECT_FALSE(pasteboard->writeObjects({itemOf({{kText, "x"}})}));
    }
    {
        const Raising raising([NSPasteboardItem class], @selector(types));
        EXPECT_EQ(itemOf({{kText, "x"}})->types(), std::nullopt);
    }
    EXPECT_EQ(log.messages, std::vector<std::string>(8, "OVTestException: raised"));
    log.messages.clear();
    {
        const Raising raising([NSPasteboard class], @selector(changeCount), @"no exception at all");
        EXPECT_EQ(general->changeCount(), std::nullopt);
    }
    EXPECT_EQ(log.messages, one("An exception that is no NSException: no exception at all"));
    EXPECT_EQ(textsOf(*general), one("text"));
}

TEST_F(CocoaPasteboardTest, APasteboardThatTheSystemDoesNotGiveIsNull) {
    const testing::RecordingLog log;
    const Raising unique(object_getClass([NSPasteboard class]), @selector(pasteboardWithUniqueName));
    EXPECT_EQ(service.pasteboardWithUniqueName(), nullptr);
    const Raising clipboard(object_getClass([NSPasteboard class]), @selector(generalPasteboard));
    EXPECT_EQ(service.generalPasteboard(), nullptr);
    const Raising item([NSPasteboardItem class], @selector(init));
    EXPECT_EQ(service.newItem(), nullptr);
    EXPECT_EQ(log.messages.size(), 3U);
}

/// The history, kept of GNUstep's clipboard.
class CocoaPasteboardHistoryTest : public CocoaPasteboardTest {
  protected:
    [[nodiscard]] std::vector<std::string> newest(const OVPasteboardServer& server) const {
        const auto history = server.pasteboards();
        return history->empty() ? std::vector<std::string>() : textsOf(*history->front());
    }
};

TEST_F(CocoaPasteboardHistoryTest, ATypeThatItsOwnerDoesNotHandOutIsLoggedAndLeftOut) {
    NSPasteboardItem* promising = [[[NSPasteboardItem alloc] init] autorelease];
    [promising setDataProvider:[[[OVPromiser alloc] init] autorelease]
                      forTypes:[NSArray arrayWithObjects:@"com.example.broken", @"com.example.kept", nil]];
    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);
    const testing::RecordingLog log;

    const auto copy =
        server->pasteboardItemByCopyingPasteboardItem(std::make_shared<CocoaPasteboardItem>(promising, false));

    EXPECT_EQ(copy->types(), one("com.example.kept"));
    EXPECT_EQ(bytesOf(*copy, "com.example.kept"), "kept");
    ASSERT_EQ(log.messages.size(), 1U);
    EXPECT_NE(log.messages[0].find("ERROR: no data for type com.example.broken"), std::string::npos);
}

TEST_F(CocoaPasteboardHistoryTest, TheFirstEntryIsThePresentContent) {
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "first"}, {kOther, "kept"}})}));

    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);

    ASSERT_EQ(server->pasteboards()->size(), 1U);
    EXPECT_EQ(newest(*server), one("first"));
    EXPECT_EQ(textsOf(*server->pasteboards()->front(), kOther), one("kept"));
}

TEST_F(CocoaPasteboardHistoryTest, TheTimerFindsWhatAnotherProcessCopies) {
    const auto server = OVPasteboardServer::create(service, RunLoop::current());
    ASSERT_EQ(server->pasteboards()->size(), 1U);

    ASSERT_EQ(runProbe({"copy", kText, "from elsewhere"}).status, 0);

    EXPECT_TRUE(runLoopUntil([&] { return server->pasteboards()->size() == 2; }));
    EXPECT_EQ(newest(*server), one("from elsewhere"));
}

TEST_F(CocoaPasteboardHistoryTest, SeveralItemsOfAnotherProcessAreOneEntry) {
    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);

    ASSERT_EQ(runProbe({"copy-items", kText, "one", "two"}).status, 0);
    server->pollPasteboard();

    ASSERT_EQ(server->pasteboards()->size(), 2U);
    EXPECT_EQ(newest(*server), (std::vector<std::string>{"one", "two"}));
}

TEST_F(CocoaPasteboardHistoryTest, TheTenthChangeRecyclesTheOldest) {
    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);
    const std::shared_ptr<Pasteboard> oldest = server->pasteboards()->front();
    for (int change = 1; change <= 10; ++change) {
        copy("change " + std::to_string(change));
        server->pollPasteboard();
        server->pollPasteboard();
    }

    ASSERT_EQ(server->pasteboards()->size(), 10U);
    EXPECT_EQ(server->pasteboards()->front(), oldest);
    EXPECT_EQ(newest(*server), one("change 10"));
    EXPECT_EQ(textsOf(*server->pasteboards()->back()), one("change 1"));
}

TEST_F(CocoaPasteboardHistoryTest, ARestoredEntryIsPastedElsewhereAndComesBackInFront) {
    NoRunLoop runLoop;
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "old"}, {kOther, "kept"}}), itemOf({{kText, "older"}})}));
    const auto server = OVPasteboardServer::create(service, runLoop);
    ASSERT_EQ(runProbe({"copy", kText, "new"}).status, 0);
    server->pollPasteboard();
    ASSERT_EQ(server->pasteboards()->size(), 2U);

    EXPECT_TRUE(server->restoreItemsFromPasteboard(server->pasteboards()->back()));

    EXPECT_EQ(server->pasteboards()->size(), 1U);
    EXPECT_EQ(runProbe({"paste", kText}).output, "old");
    EXPECT_EQ(runProbe({"paste", kOther}).output, "kept");
    server->pollPasteboard();
    ASSERT_EQ(server->pasteboards()->size(), 2U);
    EXPECT_EQ(newest(*server), (std::vector<std::string>{"old", "older"}));
}

TEST_F(CocoaPasteboardHistoryTest, AClearedHistoryIsEmptyUntilTheNextChange) {
    NoRunLoop runLoop;
    ASSERT_TRUE(general->writeObjects({itemOf({{kText, "text"}})}));
    const auto server = OVPasteboardServer::create(service, runLoop);

    server->clearHistory();
    server->pollPasteboard();
    EXPECT_TRUE(server->pasteboards()->empty());

    ASSERT_EQ(runProbe({"copy", kText, "text"}).status, 0);
    server->pollPasteboard();
    EXPECT_EQ(newest(*server), one("text"));
}

TEST_F(CocoaPasteboardHistoryTest, AReadingThatRaisesLeavesTheHistoryAndIsDoneAgain) {
    struct Source {
        Class owner;
        SEL selector;
    };
    const Source sources[] = {
        {[NSPasteboard class], @selector(readObjectsForClasses:options:)},
        {[NSPasteboard class], @selector(changeCount)},
        {[NSPasteboard class], @selector(dataForType:)},
        {object_getClass([NSPasteboard class]), @selector(generalPasteboard)},
        {object_getClass([NSPasteboard class]), @selector(pasteboardWithUniqueName)},
        {[NSPasteboardItem class], @selector(init)},
    };
    for (const bool full : {false, true}) {
        for (const Source& source : sources) {
            SCOPED_TRACE(std::string(full ? "full: " : "") + sel_getName(source.selector));
            if (full && source.selector == @selector(pasteboardWithUniqueName)) {
                continue; // not asked for
            }
            ASSERT_TRUE(general->clearContents());
            NoRunLoop runLoop;
            const auto server = OVPasteboardServer::create(service, runLoop);
            for (int change = 0; change < (full ? 10 : 1); ++change) {
                copy(std::to_string(change));
                server->pollPasteboard();
            }
            const auto before = *server->pasteboards();
            copy("new");
            {
                const testing::RecordingLog log;
                const Raising raising(source.owner, source.selector);
                server->pollPasteboard();
                server->pollPasteboard();
                EXPECT_EQ(log.messages.size(), 2U) << "tried twice";
            }
            EXPECT_EQ(*server->pasteboards(), before);
            EXPECT_EQ(textsOf(*before.back()), full ? one("0") : std::vector<std::string>());

            server->pollPasteboard();
            server->pollPasteboard();
            EXPECT_EQ(server->pasteboards()->size(), full ? 10U : 3U);
            EXPECT_EQ(newest(*server), one("new"));
        }
    }
}

TEST_F(CocoaPasteboardHistoryTest, AnEntryWhoseReadingRaisesStaysAndSoDoesTheClipboard) {
    copy("old");
    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);
    copy("new");
    server->pollPasteboard();
    const auto count = general->changeCount();
    for (SEL selector : { @selector(pasteboardItems), @selector(dataForType:), @selector(types) }) {
        SCOPED_TRACE(sel_getName(selector));
        const testing::RecordingLog log;
        const Raising raising([NSPasteboard class], selector);
        EXPECT_FALSE(server->restoreItemsFromPasteboard(server->pasteboards()->back()));
        EXPECT_EQ(log.messages, one("OVTestException: raised"));
    }
    EXPECT_EQ(server->pasteboards()->size(), 2U);
    EXPECT_EQ(textsOf(*server->pasteboards()->back()), one("old"));
    EXPECT_EQ(textsOf(*general), one("new"));
    EXPECT_EQ(general->changeCount(), count);
}

TEST_F(CocoaPasteboardHistoryTest, RestoringNothingEmptiesTheClipboard) {
    copy("text");
    NoRunLoop runLoop;
    const auto server = OVPasteboardServer::create(service, runLoop);

    EXPECT_TRUE(server->restoreItemsFromPasteboard(nullptr));

    EXPECT_EQ(general->pasteboardItems(), PasteboardItems());
    EXPECT_EQ(newest(*server), one("text"));
    server->pollPasteboard();
    EXPECT_EQ(server->pasteboards()->size(), 2U);
    EXPECT_EQ(newest(*server), std::vector<std::string>());
}

} // namespace orvane::test
