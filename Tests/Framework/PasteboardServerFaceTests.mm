#import "Tests/Framework/FaceTest.h"

#import <AppKit/AppKit.h>

namespace facetest {

namespace {

void copy(NSString* string) {
    NSPasteboard* const general = [NSPasteboard generalPasteboard];
    [general declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [general setString:string forType:NSStringPboardType];
}

std::string stringOn(NSPasteboard* pasteboard) {
    return text([pasteboard stringForType:NSStringPboardType]);
}

using PasteboardServerFaceTest = FaceTest;

TEST_F(PasteboardServerFaceTest, KeepsALiveHistoryOfTheGeneralPasteboard) {
    copy(@"first");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSArray* const history = [server pasteboards];
    ASSERT_EQ([history count], 1U);
    EXPECT_EQ(stringOn([history objectAtIndex:0]), "first");
    copy(@"second");
    [server pollPasteboard:nil];
    [server pollPasteboard:nil];
    EXPECT_EQ([server pasteboards], history) << "the getter copies";
    ASSERT_EQ([history count], 2U);
    EXPECT_EQ(stringOn([history objectAtIndex:0]), "second");
    EXPECT_EQ(stringOn([history objectAtIndex:1]), "first");
    [server readItemsFromPasteboard];
    EXPECT_EQ([history count], 3U);
    [server clearHistory];
    EXPECT_EQ([history count], 0U);
}

TEST_F(PasteboardServerFaceTest, RestoresAnEntryThroughTheRunner) {
    copy(@"old");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    copy(@"new");
    [server pollPasteboard:nil];
    OVTaskRunner* const runner = [[[OVTaskRunner alloc] init] autorelease];
    [runner setPasteboardServer:server];
    EXPECT_EQ([runner pasteboardServer], server);
    NSPasteboard* const old = [[[[server pasteboards] objectAtIndex:1] retain] autorelease];
    EXPECT_EQ([runner restoreItemsFromPasteboard:old], 0);
    EXPECT_EQ([[server pasteboards] count], 1U);
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "old");
    [server pollPasteboard:nil];
    ASSERT_EQ([[server pasteboards] count], 2U);
    EXPECT_EQ(stringOn([[server pasteboards] objectAtIndex:0]), "old");
    EXPECT_EQ([runner clearPasteboardHistory], 0);
    EXPECT_EQ([[server pasteboards] count], 0U);
    [runner setPasteboardServer:nil];
}

TEST_F(PasteboardServerFaceTest, RestoresAPasteboardThatIsNoneOfTheHistorys) {
    copy(@"kept");
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSPasteboard* const other = [NSPasteboard pasteboardWithUniqueName];
    [other declareTypes:[NSArray arrayWithObject:NSStringPboardType] owner:nil];
    [other setString:@"from elsewhere" forType:NSStringPboardType];
    EXPECT_TRUE([server restoreItemsFromPasteboard:other]);
    EXPECT_EQ([[server pasteboards] count], 1U);
    EXPECT_EQ(stringOn([NSPasteboard generalPasteboard]), "from elsewhere");
}

TEST_F(PasteboardServerFaceTest, IsKeptByItsTimerWhichPolls) {
    copy(@"before");
    OVPasteboardServer* const server = [[OVPasteboardServer alloc] init];
    EXPECT_GE([server retainCount], 2U) << "the timer does not keep its target";
    copy(@"while the run loop runs");
    [[NSRunLoop currentRunLoop] runUntilDate:[NSDate dateWithTimeIntervalSinceNow:1.0]];
    ASSERT_EQ([[server pasteboards] count], 2U);
    EXPECT_EQ(stringOn([[server pasteboards] objectAtIndex:0]), "while the run loop runs");
    [server release];
}

TEST_F(PasteboardServerFaceTest, CopiesAnItemTypeByType) {
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    NSPasteboardItem* const item = [[[NSPasteboardItem alloc] init] autorelease];
    NSData* const data = [@"bytes" dataUsingEncoding:NSUTF8StringEncoding];
    EXPECT_TRUE([item setData:data forType:@"com.example.first"]);
    EXPECT_TRUE([item setData:[NSData data] forType:@"com.example.second"]);
    NSPasteboardItem* const copied = [server pasteboardItemByCopyingPasteboardItem:item];
    EXPECT_NE(copied, item);
    EXPECT_TRUE([[copied types] isEqual:[item types]]);
    EXPECT_TRUE([[copied dataForType:@"com.example.first"] isEqual:data]);
}

TEST_F(PasteboardServerFaceTest, AnIndexBehindTheHistoryRaises) {
    OVPasteboardServer* const server = [[[OVPasteboardServer alloc] init] autorelease];
    [server clearHistory];
    NSString* name = nil;
    @try {
        static_cast<void>([[server pasteboards] objectAtIndex:0]);
    } @catch (NSException* exception) {
        name = [exception name];
    }
    EXPECT_EQ(text(name), text(NSRangeException));
    NSPasteboard* none = nil;
    EXPECT_FALSE([server restoreItemsFromPasteboard:none]);
}

} // namespace

} // namespace facetest
