#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// Paths by pattern.
///
/// Threads: any.
@interface NSFileManager (Globbing)

/// The paths that match the shell wildcard pattern beneath the folder, by name; empty when nothing matches. A leading
/// tilde of the folder is expanded.
- (NSArray OV_OF(NSString*) *)arrayWithFilesMatchingPattern:(NSString*)pattern
                                                inDirectory:(NSString*)directory
    OV_SWIFT_NAME(files(matchingPattern:inDirectory:));

@end

OV_ASSUME_NONNULL_END
