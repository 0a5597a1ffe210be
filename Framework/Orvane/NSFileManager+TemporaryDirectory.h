#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// A folder for what need not last.
///
/// Threads: any.
@interface NSFileManager (TemporaryDirectory)

/// Makes a new folder with a unique name in the user's temporary directory: its path; nil when it could not be made.
- (NSString* OV_NULLABLE)createTemporaryDirectory;

@end

OV_ASSUME_NONNULL_END
