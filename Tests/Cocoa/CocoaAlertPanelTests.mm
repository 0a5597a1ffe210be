#include "Platform/AlertPanel.h"

#include "Backends/Cocoa/CocoaSupport.h"
#include "Tests/Cocoa/CocoaTestSupport.h"

#import <AppKit/AppKit.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <string>
#include <vector>

/// Plays the user in front of the panel.
@interface OVClicker : NSObject {
    NSString* title_;
  @public
    std::vector<std::string>* shown;
}
- (id)initWithTitle:(NSString*)title;
- (void)click:(NSTimer*)timer;
@end

namespace {

void collect(NSView* view, NSMutableArray* controls) {
    for (NSView* each in [view subviews]) {
        if ([each isKindOfClass:[NSControl class]]) {
            [controls addObject:each];
        }
        collect(each, controls);
    }
}

} // namespace

@implementation OVClicker

- (id)initWithTitle:(NSString*)title {
    self = [super init];
    if (self != nil) {
        title_ = [title copy];
        shown = new std::vector<std::string>;
    }
    return self;
}

- (void)dealloc {
    [title_ release];
    delete shown;
    [super dealloc];
}

- (void)click:(NSTimer*)timer {
    (void)timer;
    shown->clear();
    NSMutableArray* controls = [NSMutableArray array];
    collect([[NSApp modalWindow] contentView], controls);
    NSButton* button = nil;
    for (NSControl* control in controls) {
        const bool isButton = [control isKindOfClass:[NSButton class]];
        NSString* text = isButton ? [static_cast<NSButton*>(control) title] : [control stringValue];
        shown->push_back(orvane::cocoa::textOf(text));
        if (isButton && [text isEqual:title_]) {
            button = static_cast<NSButton*>(control);
        }
    }
    if (button != nil) {
        [button performClick:nil];
    } else {
        [NSApp stopModalWithCode:-1000];
    }
    // A modal session looks at its end only after an event, and for one only when something wakes it: this timer,
    // again.
    [NSApp postEvent:[NSEvent otherEventWithType:NSApplicationDefined
                                        location:NSZeroPoint
                                   modifierFlags:0
                                       timestamp:0
                                    windowNumber:0
                                         context:nil
                                         subtype:0
                                           data1:0
                                           data2:0]
             atStart:NO];
}

@end

namespace orvane::test {

namespace {

struct Answered {
    std::int32_t answer = 0;
    std::vector<std::string> shown;
};

/// Asks, and clicks the button of that title.
Answered ask(const AlertPanelTexts& texts, NSString* button) {
    OVClicker* clicker = [[[OVClicker alloc] initWithTitle:button] autorelease];
    NSTimer* timer = [NSTimer timerWithTimeInterval:0.1
                                             target:clicker
                                           selector:@selector(click:)
                                           userInfo:nil
                                            repeats:YES];
    [[NSRunLoop currentRunLoop] addTimer:timer forMode:NSModalPanelRunLoopMode];
    const std::int32_t answer = AlertPanel::platform().run(texts);
    [timer invalidate];
    return {answer, *clicker->shown};
}

const AlertPanelTexts kTexts = {"The task is done to 100%", "Restart now? 100% %@ %d gr\xC3\xBCn", "Restart", "Cancel",
                                "Shut Down"};

} // namespace

TEST(CocoaAlertPanelTest, TheDefaultButtonIsOne) {
    EXPECT_EQ(ask(kTexts, @"Restart").answer, kAlertPanelDefault);
}

TEST(CocoaAlertPanelTest, TheAlternateButtonIsNought) {
    EXPECT_EQ(ask(kTexts, @"Cancel").answer, kAlertPanelAlternate);
}

TEST(CocoaAlertPanelTest, TheOtherButtonIsMinusOne) {
    EXPECT_EQ(ask(kTexts, @"Shut Down").answer, kAlertPanelOther);
}

TEST(CocoaAlertPanelTest, AnotherEndIsAnotherNumber) {
    const std::int32_t answer = ask(kTexts, @"no such button").answer;

    EXPECT_NE(answer, kAlertPanelDefault);
    EXPECT_NE(answer, kAlertPanelAlternate);
    EXPECT_NE(answer, kAlertPanelOther);
}

TEST(CocoaAlertPanelTest, WithoutAScreenTheAnswerIsTheAlternateButton) {
    const Ended ended = runProbe({"ask"}, {{"DISPLAY", ""}});

    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output, "0");
}

TEST(CocoaAlertPanelTest, ShowsTheTextsAsTheyAreAPercentSignToo) {
    const std::vector<std::string> shown = ask(kTexts, @"Cancel").shown;

    for (const std::string& text :
         {kTexts.title, kTexts.message, kTexts.defaultButton, kTexts.alternateButton, kTexts.otherButton}) {
        EXPECT_NE(std::find(shown.begin(), shown.end(), text), shown.end()) << text;
    }
}

TEST(CocoaAlertPanelTest, TextsThatAreNotUTF8DoNoHarm) {
    EXPECT_EQ(ask({"\xFF", "\xFE", "Yes", "No", "Other"}, @"No").answer, kAlertPanelAlternate);
}

} // namespace orvane::test
