#include "Backends/Cocoa/GNUstepCompatibility.h"

#ifdef GNUSTEP

#include "Backends/Posix/Osascript.h"
#include "Backends/Posix/UserLanguages.h"

#include <cerrno>
#include <csignal>

#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation" // GNUstep's own methods are to be replaced

// The pasteboard of GNUstep knows types, not items. The first item's types are the pasteboard's, those of the following
// items have the item's number and this behind it in front.
static NSString* const kItemMark = @" com.orvane.pasteboard-item ";

/// An item that is read from a pasteboard when it is asked, and has nothing to say once the content is another.
@interface OVPasteboardItemOnPasteboard : NSPasteboardItem {
  @public
    NSPasteboard* pasteboard_;
    NSInteger changeCount_;
    NSString* prefix_; ///< of its types on the pasteboard
}
- (void)addType:(NSString*)type;
@end

@implementation OVPasteboardItemOnPasteboard

- (void)dealloc {
    [pasteboard_ release];
    [prefix_ release];
    [super dealloc];
}

- (void)addType:(NSString*)type {
    [_types addObject:type];
}

- (NSData*)dataForType:(NSString*)type {
    return [_types containsObject:type] && [pasteboard_ changeCount] == changeCount_
               ? [pasteboard_ dataForType:[prefix_ stringByAppendingString:type]]
               : nil;
}

- (BOOL)setData:(NSData*)data forType:(NSString*)type {
    (void)data;
    (void)type;
    return NO;
}

@end

// GNUstep's own keeps the data, but never says of which types it has any, and raises an exception for the others.
@implementation NSPasteboardItem (OVRepairedForGNUstep)

- (BOOL)setData:(NSData*)data forType:(NSString*)type {
    if (data == nil || type == nil) {
        return NO;
    }
    if (![_types containsObject:type]) {
        [_types addObject:type];
    }
    [_dataMap setObject:data forKey:type];
    return YES;
}

- (NSData*)dataForType:(NSString*)type {
    if ([_dataMap objectForKey:type] == nil) {
        [[_providerMap objectForKey:type] pasteboard:nil item:self provideDataForType:type];
    }
    return [_dataMap objectForKey:type];
}

@end

@implementation NSPasteboard (OVMissingInGNUstep)

- (NSInteger)clearContents {
    return [self declareTypes:[NSArray array] owner:nil];
}

- (BOOL)writeObjects:(NSArray*)objects {
    // What is there already stays; it is read before the declaration, which empties the pasteboard.
    NSArray* items = [[self pasteboardItems] arrayByAddingObjectsFromArray:objects];
    NSMutableArray* types = [NSMutableArray array];
    NSMutableArray* contents = [NSMutableArray array];
    for (NSUInteger place = 0; place < [items count]; ++place) {
        NSPasteboardItem* item = [items objectAtIndex:place];
        NSString* prefix =
            place > 0 ? [NSString stringWithFormat:@"%lu%@", static_cast<unsigned long>(place), kItemMark] : @"";
        for (NSString* type in [item types]) {
            NSData* data = [item dataForType:type];
            if (data != nil) { // its owner may not hand it out
                [types addObject:[prefix stringByAppendingString:type]];
                [contents addObject:data];
            }
        }
    }
    [self declareTypes:types owner:nil];
    BOOL written = YES;
    for (NSUInteger place = 0; place < [types count]; ++place) {
        written = [self setData:[contents objectAtIndex:place] forType:[types objectAtIndex:place]] && written;
    }
    return written;
}

- (NSArray*)pasteboardItems {
    const NSInteger count = [self changeCount];
    NSArray* types = [self types]; // of another process
    NSMutableArray* items = [NSMutableArray array];
    for (NSUInteger place = 0; place < [types count]; ++place) {
        NSString* type = [NSString stringWithString:[types objectAtIndex:place]];
        const NSRange mark = [type rangeOfString:kItemMark];
        NSString* prefix = mark.length > 0 ? [type substringToIndex:NSMaxRange(mark)] : @"";
        OVPasteboardItemOnPasteboard* item = [items lastObject];
        if (item == nil || ![item->prefix_ isEqual:prefix]) {
            item = [[[OVPasteboardItemOnPasteboard alloc] init] autorelease];
            item->pasteboard_ = [self retain];
            item->changeCount_ = count;
            item->prefix_ = [prefix copy];
            [items addObject:item];
        }
        [item addType:[type substringFromIndex:[prefix length]]];
    }
    return items;
}

- (NSArray*)readObjectsForClasses:(NSArray*)classes options:(NSDictionary*)options {
    (void)classes; // that of items alone
    (void)options;
    return [self pasteboardItems];
}

@end

/// A script that the program `osascript` runs.
@interface OVScriptOfOsascript : NSAppleScript {
  @public
    NSString* source_;
}
@end

@implementation OVScriptOfOsascript

- (void)dealloc {
    [source_ release];
    [super dealloc];
}

- (id)executeAndReturnError:(NSDictionary**)error {
    (void)error;
    return orvane::runOsascript([source_ UTF8String]) ? [NSNull null] : nil;
}

@end

@implementation NSAppleScript (OVMissingInGNUstep)

- (id)initWithSource:(NSString*)source {
    [self release];
    OVScriptOfOsascript* script = [[OVScriptOfOsascript alloc] init];
    script->source_ = [source copy];
    return script;
}

@end

/// An application that has told the workspace of itself, as all do that run their event loop, or that was launched just
/// now and is about to. Its path tells it from others.
@interface OVRunningApplication : NSRunningApplication {
    NSString* path_;
}
- (id)initWithPath:(NSString*)path;
@end

@implementation OVRunningApplication

- (id)initWithPath:(NSString*)path {
    if ((self = [super init]) != nil) {
        path_ = [path copy];
    }
    return self;
}

- (void)dealloc {
    [path_ release];
    [super dealloc];
}

- (NSBundle*)bundle {
    BOOL isFolder = NO;
    return [[NSFileManager defaultManager] fileExistsAtPath:path_ isDirectory:&isFolder] && isFolder
               ? [NSBundle bundleWithPath:path_]
               : nil;
}

- (NSString*)localizedName {
    return [[path_ lastPathComponent] stringByDeletingPathExtension];
}

- (NSString*)bundleIdentifier {
    return [[self bundle] bundleIdentifier];
}

- (NSURL*)bundleURL {
    return [self bundle] != nil ? [NSURL fileURLWithPath:path_] : nil;
}

- (NSApplicationActivationPolicy)activationPolicy {
    NSDictionary* info = [[self bundle] infoDictionary];
    if ([[info objectForKey:@"LSBackgroundOnly"] boolValue]) {
        return NSApplicationActivationPolicyProhibited;
    }
    return [[info objectForKey:@"LSUIElement"] boolValue] ? NSApplicationActivationPolicyAccessory
                                                          : NSApplicationActivationPolicyRegular;
}

- (pid_t)processIdentifier {
    for (NSDictionary* entry in [[NSWorkspace sharedWorkspace] launchedApplications]) {
        const pid_t identifier = [[entry objectForKey:@"NSApplicationProcessIdentifier"] intValue];
        if ([[entry objectForKey:@"NSApplicationPath"] isEqual:path_] && (kill(identifier, 0) == 0 || errno == EPERM)) {
            return identifier;
        }
    }
    return -1;
}

- (BOOL)terminate {
    id application = [NSConnection rootProxyForConnectionWithRegisteredName:[self localizedName] host:@""];
    if (application == nil) {
        return NO;
    }
    @try {
        [[application connectionForProxy] setReplyTimeout:10];
        [application terminate:nil];
    } @catch (NSException* exception) {
        // It may be gone before it has answered.
        return [[exception name] isEqual:NSPortTimeoutException] ? NO : YES;
    }
    return YES;
}

@end

// GNUstep's own answers are nil.
@implementation NSWorkspace (OVMissingInGNUstep)

- (NSArray*)runningApplications {
    NSMutableArray* applications = [NSMutableArray array];
    for (NSDictionary* entry in [self launchedApplications]) {
        NSString* path = [entry objectForKey:@"NSApplicationPath"];
        [applications addObject:[[[OVRunningApplication alloc] initWithPath:path] autorelease]];
    }
    return applications;
}

- (NSRunningApplication*)launchApplicationAtURL:(NSURL*)url
                                        options:(NSWorkspaceLaunchOptions)options
                                  configuration:(NSDictionary*)configuration
                                          error:(NSError**)error {
    (void)options;
    (void)configuration;
    (void)error; // nobody asks why
    return [self launchApplication:[url path]] ? [[[OVRunningApplication alloc] initWithPath:[url path]] autorelease]
                                               : nil;
}

@end

@implementation NSFileManager (OVMissingInGNUstep)

- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error {
    // GNUstep passes over attributes that it does not know, also of a file that is not there.
    errno = ENOENT;
    if ([self fileExistsAtPath:path] && [self changeFileAttributes:attributes atPath:path]) {
        return YES;
    }
    if (error != nullptr) {
        *error = [NSError errorWithDomain:NSPOSIXErrorDomain code:errno userInfo:nil];
    }
    return NO;
}

@end

const int OVGNUstepCompatibility = 1;

#endif

namespace orvane::cocoa {

NSArray* commonRunLoopModes() {
#ifdef GNUSTEP
    return [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil];
#else
    return [NSArray arrayWithObject:NSRunLoopCommonModes];
#endif
}

NSUserDefaults* freshUserDefaults() {
    NSUserDefaults* defaults = [[[NSUserDefaults alloc] init] autorelease];
#ifdef GNUSTEP
    [defaults synchronize];
#endif
    return defaults;
}

void useLanguagesOfEnvironment() {
#ifdef GNUSTEP
    NSUserDefaults* defaults = [NSUserDefaults standardUserDefaults];
    NSString* guessed = @"GSPrimaryDomain"; // before all others, the arguments' included
    [defaults removeVolatileDomainForName:guessed];
    if ([defaults objectForKey:@"NSLanguages"] == nil) {
        NSMutableArray* languages = [NSMutableArray array];
        for (const std::string& language : userLanguages()) {
            [languages addObject:[NSString stringWithUTF8String:language.c_str()]];
        }
        [defaults setVolatileDomain:[NSDictionary dictionaryWithObject:languages forKey:@"NSLanguages"]
                            forName:guessed];
    }
#endif
}

} // namespace orvane::cocoa
