#pragma once

#import <AppKit/AppKit.h>

// What GNUstep lacks of the frameworks, or has only in name, under the frameworks' own names. Only this file and the
// one that belongs to it tell the two apart.
#ifdef GNUSTEP_BASE_LIBRARY // its headers

@interface NSPasteboard (OVMissingInGNUstep)
- (NSInteger)clearContents;
- (BOOL)writeObjects:(NSArray*)objects;
- (NSArray*)pasteboardItems;
- (NSArray*)readObjectsForClasses:(NSArray*)classes options:(NSDictionary*)options;
@end

@interface NSAppleScript (OVMissingInGNUstep)
- (id)initWithSource:(NSString*)source;
@end

@interface NSAppleScript (OVOfWhatTheInitializerAnswers)
- (id)executeAndReturnError:(NSDictionary**)error;
@end

@interface NSWorkspace (OVMissingInGNUstep)
- (NSRunningApplication*)launchApplicationAtURL:(NSURL*)url
                                        options:(NSWorkspaceLaunchOptions)options
                                  configuration:(NSDictionary*)configuration
                                          error:(NSError**)error;
@end

@interface NSFileManager (OVMissingInGNUstep)
- (BOOL)setAttributes:(NSDictionary*)attributes ofItemAtPath:(NSString*)path error:(NSError**)error;
@end

#endif

#ifdef GNUSTEP // the library, too

/// A linker takes from a static library only what is named, and nothing names a category: this does.
extern "C" const int OVGNUstepCompatibility;
[[gnu::used]] static const int* const kGNUstepCompatibility = &OVGNUstepCompatibility;

#endif

namespace orvane::cocoa {

/// The modes that `NSRunLoopCommonModes` means, which GNUstep takes for a mode of its own that nothing ever runs.
NSArray* commonRunLoopModes();

/// A fresh object that sees what is stored: GNUstep's does so only after its first `synchronize`.
NSUserDefaults* freshUserDefaults();

/// Once, before a bundle is asked for a text. GNUstep knows the languages of the locales that are installed alone: it
/// gets those that the environment names, unless its own default "NSLanguages" names others.
void useLanguagesOfEnvironment();

} // namespace orvane::cocoa
