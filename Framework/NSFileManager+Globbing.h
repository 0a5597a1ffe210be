#import "OVFrameworkTypes.h"

OV_ASSUME_NONNULL_BEGIN

@interface NSFileManager (Globbing)

/// The paths that match the shell wildcard pattern beneath the folder, by name; empty when nothing matches. A leading
/// tilde of the folder is expanded.
- (NSArray*)arrayWithFilesMatchingPattern:(NSString*)pattern inDirectory:(NSString*)directory;

@end

OV_ASSUME_NONNULL_END
