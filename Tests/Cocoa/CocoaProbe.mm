// Plays the other process of the tests, and as an application of its own the one that they launch.

#include "Backends/Cocoa/CocoaPasteboard.h"
#include "Backends/Cocoa/CocoaUserDefaults.h"
#include "Platform/AlertPanel.h"
#include "Platform/Bundle.h"
#include "Platform/Locale.h"
#include "Platform/Pasteboard.h"
#include "Platform/UserDefaults.h"
#include "Support/ZRBytesValueTransformer.h"
#include "Tests/Cocoa/CocoaTestSupport.h"

#include <cstdio>
#include <cstdlib>

using orvane::test::Words;

/// Notes the files that it is asked to open, beside the application.
@interface OVProbeDelegate : NSObject
- (BOOL)application:(NSApplication*)application openFile:(NSString*)file;
@end

@implementation OVProbeDelegate
- (BOOL)application:(NSApplication*)application openFile:(NSString*)file {
    (void)application;
    return [file writeToFile:[[[NSBundle mainBundle] bundlePath] stringByAppendingString:@".opened"]
                  atomically:YES
                    encoding:NSUTF8StringEncoding
                       error:nullptr];
}
@end

namespace {

int print(const std::string& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}

int readDomain(const Words& words) {
    NSDictionary* domain =
        [orvane::cocoa::freshUserDefaults() persistentDomainForName:orvane::cocoa::stringOf(words.at(1))];
    return domain != nil ? print(orvane::test::describe(orvane::cocoa::valuesOf(domain))) : 3;
}

int writeDomain(const Words& words) {
    const auto defaults = orvane::UserDefaultsFactory::platform().create();
    defaults->setObject(words.at(3), words.at(2), words.at(1));
    return defaults->synchronize() ? 0 : 3;
}

/// Copies as an application does that knows nothing of items: types, each followed by its bytes.
int copy(const Words& words) {
    NSPasteboard* pasteboard = [NSPasteboard generalPasteboard];
    NSMutableArray* types = [NSMutableArray array];
    for (std::size_t place = 1; place + 1 < words.size(); place += 2) {
        [types addObject:orvane::cocoa::stringOf(words[place])];
    }
    [pasteboard declareTypes:types owner:nil];
    bool isCopied = true;
    for (std::size_t place = 2; place < words.size(); place += 2) {
        NSData* data = [NSData dataWithBytes:words[place].data() length:words[place].size()];
        isCopied = [pasteboard setData:data forType:[types objectAtIndex:place / 2 - 1]] && isCopied;
    }
    return isCopied ? 0 : 3;
}

/// Copies two items.
int copyItems(const Words& words) {
    orvane::PasteboardService& service = orvane::PasteboardService::platform();
    orvane::PasteboardItems items;
    for (std::size_t place = 2; place < words.size(); ++place) {
        items.push_back(service.newItem());
        NSData* data = [NSData dataWithBytes:words[place].data() length:words[place].size()];
        [static_cast<orvane::cocoa::CocoaPasteboardItem&>(*items.back()).item()
            setData:data
            forType:orvane::cocoa::stringOf(words.at(1))];
    }
    const auto pasteboard = service.generalPasteboard();
    pasteboard->clearContents();
    return pasteboard->writeObjects(items) ? 0 : 3;
}

int paste(const Words& words) {
    NSData* data = [[NSPasteboard generalPasteboard] dataForType:orvane::cocoa::stringOf(words.at(1))];
    return data != nil ? print(std::string(orvane::cocoa::CocoaPasteboardData(data).bytes())) : 3;
}

int uniqueName(const Words& words) {
    (void)words;
    return print(orvane::cocoa::textOf([[NSPasteboard pasteboardWithUniqueName] name]));
}

int bundle(const Words& words) {
    orvane::Bundle& bundle = orvane::Bundle::platform();
    print(bundle.bundleIdentifier().value_or("none") + "\n");
    print(bundle.pathForResource("LargeFilesTemplate", "savedSearch").value_or("none") + "\n");
    return print(bundle.localizedString(words.at(1)) + "\n");
}

int locale(const Words& words) {
    (void)words;
    orvane::Locale& locale = orvane::Locale::platform();
    return print(locale.decimalSeparator() + "\n" + locale.dateString() + "\n" + locale.zeroDigit() + "\n");
}

int formatBytes(const Words& words) {
    return print(orvane::ZRBytesValueTransformer::formatBytes(std::strtoull(words.at(1).c_str(), nullptr, 10)));
}

int ask(const Words& words) {
    (void)words;
    return print(std::to_string(orvane::AlertPanel::platform().run({"Title", "Text", "Yes", "No", "Other"})));
}

/// Is an application until it is asked to quit, or for a minute.
int application() {
    [NSApplication sharedApplication];
    OVProbeDelegate* delegate = [[OVProbeDelegate alloc] init];
    [NSApp setDelegate:static_cast<id>(delegate)];
    [NSApp performSelector:@selector(terminate:) withObject:nil afterDelay:60];
    [NSApp run];
    [delegate release];
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    struct Work {
        const char* name;
        std::size_t words;
        int (*run)(const Words&);
    };
    constexpr Work kWorks[] = {{"read-domain", 2, readDomain},
                               {"write-domain", 4, writeDomain},
                               {"copy", 3, copy},
                               {"copy-items", 2, copyItems},
                               {"paste", 2, paste},
                               {"bundle", 2, bundle},
                               {"unique-name", 1, uniqueName},
                               {"locale", 1, locale},
                               {"ask", 1, ask},
                               {"format-bytes", 2, formatBytes}};
    @autoreleasepool {
        const Words words(argv + 1, argv + argc);
        for (const Work& work : kWorks) {
            if (!words.empty() && words[0] == work.name) {
                return words.size() >= work.words ? work.run(words) : 64;
            }
        }
        return application();
    }
}
