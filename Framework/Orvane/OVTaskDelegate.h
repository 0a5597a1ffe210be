#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// For owners that have a class of this name for their tasks.
@class OVTask;

/// How a task ended: what the runner's methods return.
typedef OV_ENUM(int32_t, OVTaskStatus){OVTaskStatusSuccess = 0, OVTaskStatusFailure = 1, OVTaskStatusCancelled = 2};

/// The owner of an `OVTaskRunner`: receives output, answers cancel questions and supplies the user's choices.
///
/// Threads: called on the one that called the runner. An owner that touches its windows carries that to the main thread
/// itself; `shouldCancel`, asked twice a second, answers at once from a flag that the main thread sets.
///
/// An exception that one of these methods raises ends the running task as a cancel would, and is raised again from
/// the runner's method.
@protocol OVTaskDelegate <NSObject>
@required
// Not sent by the runner. An owner that sends them decides what object stands for a task, and gives an `OVTaskStatus`.
- (void)taskWillBegin:(id)task;
- (void)task:(id)task completedWithStatus:(int32_t)status;
/// One chunk of command output, or a progress line of a task; nil for a chunk that is not UTF-8.
- (void)hasOutputAvailable:(NSString* OV_NULLABLE)output;
/// Whether the running task should end.
- (BOOL)shouldCancel;
/// The folder in which a dated archive of the desktop is made, a leading tilde allowed; nil when there is none. An
/// empty path counts as none: it would mean the working folder.
- (NSString* OV_NULLABLE)archiveDesktopPath;
/// The size from which a file counts as large, in megabytes of 1,000,000 bytes.
- (uint64_t)largeFilesSize;
/// Paths (strings) chosen by the user, at least one; nil when the user chose none.
- (NSArray OV_OF(NSString*) * OV_NULLABLE)inputPathsWithDirectoriesOnly:(BOOL)directoriesOnly
                                                allowsMultipleSelection:(BOOL)allowsMultipleSelection;
@end

OV_ASSUME_NONNULL_END
