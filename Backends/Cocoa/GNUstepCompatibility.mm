#include "Backends/Cocoa/GNUstepCompatibility.h"

#ifdef GNUSTEP

#include "Backends/Posix/Osascript.h"

#include <cerrno>
#include <csignal>

// The pasteboard of GNUstep knows types, not items: its types are the first item's. Where there are several, all of
// them stand in one property list under a type of our own beside these.
static NSString* const kItemsType = @"com.orvane.pasteboard-items";

/// An item that is read from a pasteboard when it is asked, and has nothing to say once the content is another.
@interface OVPasteboardItemOnPasteboard : NSPasteboardItem {
    NSPasteboard* pasteboard_;
    NSInteger changeCount_;
    NSArray* itsTypes_;
}
- (id)initWithPasteboard:(NSPasteboard*)pasteboard changeCount:(NSInteger)changeCount types:(NSArray*)types;
@end

@implementation OVPasteboardItemOnPasteboard

- (id)initWithPasteboard:(NSPasteboard*)pasteboard changeCount:(NSInteger)changeCount types:(NSArray*)types {
    self = [super init];
    if (self != nil) {
        pasteboard_ = [pasteboard retain];
        changeCount_ = changeCount;
        itsTypes_ = [types copy];
    }
    return self;
}

- (void)dealloc {
    [pasteboard_ release];
    [itsTypes_ release];
    [super dealloc];
}

- (NSArray*)types {
    return itsTypes_;
}

- (NSData*)dataForType:(NSString*)type {
    return [itsTypes_ containsObject:type] && [pasteboard_ changeCount] == changeCount_ ? [pasteboard_ dataForType:type]
                                                                                        : nil;
}

- (BOOL)setData:(NSData*)data forType:(NSString*)type {
    (void)data;
    (void)type;
    return NO;
}

@end

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"

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

- (BOOL)setDataProvider:(id<NSPasteboardItemDataProvider>)provider forTypes:(NSArray*)types {
    for (NSString* type in types) {
        if (![_types containsObject:type]) {
            [_types addObject:type];
        }
        [_providerMap setObject:provider forKey:type];
    }
    return YES;
}

- (NSArray*)types {
    return [NSArray arrayWithArray:_types];
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

// Types and their data by turns. A type whose owner does not hand its data out is left out.
static NSArray* ContentOfItem(NSPasteboardItem* item) {
    NSMutableArray* content = [NSMutableArray array];
    for (NSString* type in [item types]) {
        NSData* data = [item dataForType:type];
        if (data != nil) {
            [content addObject:type];
            [content addObject:data];
        }
    }
    return content;
}

static NSData* ArchiveOfItems(NSArray* items) {
    NSMutableArray* archive = [NSMutableArray array];
    for (NSPasteboardItem* item in items) {
        [archive addObject:ContentOfItem(item)];
    }
    return [NSPropertyListSerialization dataFromPropertyList:archive
                                                      format:NSPropertyListBinaryFormat_v1_0
                                            errorDescription:nullptr];
}

static NSArray* ItemsOfArchive(NSData* archive) {
    id contents = [NSPropertyListSerialization propertyListFromData:archive
                                                   mutabilityOption:NSPropertyListImmutable
                                                             format:nullptr
                                                   errorDescription:nullptr];
    if (![contents isKindOfClass:[NSArray class]]) {
        return nil;
    }
    NSMutableArray* items = [NSMutableArray array];
    for (NSArray* content in contents) {
        NSPasteboardItem* item = [[[NSPasteboardItem alloc] init] autorelease];
        for (NSUInteger place = 0; place + 1 < [content count]; place += 2) {
            [item setData:[content objectAtIndex:place + 1] forType:[content objectAtIndex:place]];
        }
        [items addObject:item];
    }
    return items;
}

- (BOOL)writeObjects:(NSArray*)objects {
    for (id object in objects) {
        if (![object isKindOfClass:[NSPasteboardItem class]]) {
            return NO;
        }
    }
    if ([objects count] == 0) {
        return YES;
    }
    // What is there already stays; it is read before the declaration, which empties the pasteboard.
    NSMutableArray* items = [NSMutableArray array];
    for (NSPasteboardItem* present in [self pasteboardItems]) {
        NSPasteboardItem* copy = [[[NSPasteboardItem alloc] init] autorelease];
        for (NSString* type in [present types]) {
            [copy setData:[present dataForType:type] forType:type];
        }
        [items addObject:copy];
    }
    [items addObjectsFromArray:objects];

    NSData* archive = [items count] > 1 ? ArchiveOfItems(items) : nil;
    if ([items count] > 1 && archive == nil) {
        return NO;
    }
    NSArray* first = ContentOfItem([items objectAtIndex:0]);
    NSMutableArray* types = [NSMutableArray array];
    for (NSUInteger place = 0; place < [first count]; place += 2) {
        [types addObject:[first objectAtIndex:place]];
    }
    if (archive != nil) {
        [types addObject:kItemsType];
    }
    [self declareTypes:types owner:nil];
    BOOL written = archive == nil || [self setData:archive forType:kItemsType];
    for (NSUInteger place = 0; place < [first count]; place += 2) {
        written = [self setData:[first objectAtIndex:place + 1] forType:[first objectAtIndex:place]] && written;
    }
    return written;
}

- (NSArray*)pasteboardItems {
    // The types come from another process: they are asked for once.
    const NSInteger count = [self changeCount];
    NSArray* remote = [self types];
    NSMutableArray* types = [NSMutableArray array];
    for (NSUInteger place = 0; place < [remote count]; ++place) {
        [types addObject:[NSString stringWithString:[remote objectAtIndex:place]]];
    }
    if ([types containsObject:kItemsType]) {
        NSData* archive = [self dataForType:kItemsType];
        NSArray* items = archive != nil ? ItemsOfArchive(archive) : nil;
        if (items != nil) {
            return items;
        }
        [types removeObject:kItemsType];
    }
    if ([types count] == 0) {
        return [NSArray array];
    }
    return [NSArray arrayWithObject:[[[OVPasteboardItemOnPasteboard alloc] initWithPasteboard:self
                                                                                  changeCount:count
                                                                                        types:types] autorelease]];
}

- (NSArray*)readObjectsForClasses:(NSArray*)classes options:(NSDictionary*)options {
    (void)options;
    return [classes containsObject:[NSPasteboardItem class]] ? [self pasteboardItems] : [NSArray array];
}

@end

#pragma clang diagnostic pop

/// A script that the program `osascript` runs.
@interface OVScriptOfOsascript : NSAppleScript {
    NSString* source_;
}
@end

@implementation OVScriptOfOsascript

- (id)initWithSource:(NSString*)source {
    self = [super init];
    if (self != nil) {
        source_ = [source copy];
    }
    return self;
}

- (void)dealloc {
    [source_ release];
    [super dealloc];
}

- (id)executeAndReturnError:(NSDictionary**)error {
    if (orvane::runOsascript([source_ UTF8String])) {
        return [NSNull null];
    }
    if (error != nullptr) {
        *error = [NSDictionary dictionary];
    }
    return nil;
}

@end

@implementation NSAppleScript (OVMissingInGNUstep)

- (id)initWithSource:(NSString*)source {
    [self release];
    return source != nil ? [[OVScriptOfOsascript alloc] initWithSource:source] : nil;
}

- (id)executeAndReturnError:(NSDictionary**)error {
    if (error != nullptr) {
        *error = [NSDictionary dictionary];
    }
    return nil;
}

@end

/// An application that has told the workspace of itself, as all do that run their event loop, or that was launched just
/// now and is about to.
@interface OVRunningApplication : NSRunningApplication {
    NSString* name_;
    NSString* path_;
    pid_t processIdentifier_;
}
- (id)initWithEntry:(NSDictionary*)entry;
- (id)initWithPath:(NSString*)path;
@end

@implementation OVRunningApplication

- (id)initWithEntry:(NSDictionary*)entry {
    self = [super init];
    if (self != nil) {
        name_ = [[entry objectForKey:@"NSApplicationName"] copy];
        path_ = [[entry objectForKey:@"NSApplicationPath"] copy];
        processIdentifier_ = [[entry objectForKey:@"NSApplicationProcessIdentifier"] intValue];
    }
    return self;
}

- (id)initWithPath:(NSString*)path {
    self = [super init];
    if (self != nil) {
        path_ = [path copy];
        name_ = [[[path lastPathComponent] stringByDeletingPathExtension] copy];
    }
    return self;
}

- (void)dealloc {
    [name_ release];
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
    return name_;
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
    if (processIdentifier_ == 0) {
        for (NSDictionary* entry in [[NSWorkspace sharedWorkspace] launchedApplications]) {
            if ([[entry objectForKey:@"NSApplicationPath"] isEqual:path_]) {
                processIdentifier_ = [[entry objectForKey:@"NSApplicationProcessIdentifier"] intValue];
            }
        }
    }
    return processIdentifier_ != 0 && (kill(processIdentifier_, 0) == 0 || errno == EPERM) ? processIdentifier_ : -1;
}

- (BOOL)isTerminated {
    return [self processIdentifier] == -1;
}

- (BOOL)terminate {
    if ([self isTerminated]) {
        return NO;
    }
    id application = [NSConnection rootProxyForConnectionWithRegisteredName:name_ host:@""];
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

#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wobjc-protocol-method-implementation"

// GNUstep's own answers are nil.
@implementation NSWorkspace (OVMissingInGNUstep)

- (NSArray*)runningApplications {
    NSMutableArray* applications = [NSMutableArray array];
    for (NSDictionary* entry in [self launchedApplications]) {
        [applications addObject:[[[OVRunningApplication alloc] initWithEntry:entry] autorelease]];
    }
    return applications;
}

- (NSRunningApplication*)launchApplicationAtURL:(NSURL*)url
                                        options:(NSWorkspaceLaunchOptions)options
                                  configuration:(NSDictionary*)configuration
                                          error:(NSError**)error {
    (void)options;
    (void)configuration;
    if ([url isFileURL] && [self launchApplication:[url path]]) {
        return [[[OVRunningApplication alloc] initWithPath:[url path]] autorelease];
    }
    if (error != nullptr) {
        *error = [NSError errorWithDomain:NSCocoaErrorDomain code:NSFileNoSuchFileError userInfo:nil];
    }
    return nil;
}

@end

#pragma clang diagnostic pop

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

namespace orvane::cocoa {

const int gnustepCompatibility = 1;

NSArray* commonRunLoopModes() {
    return [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode, nil];
}

NSUserDefaults* freshUserDefaults() {
    NSUserDefaults* defaults = [[[NSUserDefaults alloc] init] autorelease];
    [defaults synchronize];
    return defaults;
}

} // namespace orvane::cocoa

#endif
