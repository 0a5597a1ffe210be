#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

@class OVShellCommand;

// What a run returns. Any other result is the child's own exit code (1 to 255), or -1 when the child could not be
// started or its end could not be learnt.

/// 0: the child exited normally with exit code 0
OV_EXTERN const NSInteger OVShellCommandSuccess OV_SWIFT_NAME(OVShellCommand.success);
/// -9998: cancelled before the start, or the child died of a signal
OV_EXTERN const NSInteger OVShellCommandCancelled OV_SWIFT_NAME(OVShellCommand.cancelled);
/// -9999: a cancel was asked, but the signal could not be sent
OV_EXTERN const NSInteger OVShellCommandCancelFailed OV_SWIFT_NAME(OVShellCommand.cancelFailed);

/// Receives a running command's output and decides whether it goes on.
///
/// Threads: called on the one that runs the command.
@protocol OVShellCommandDelegate <NSObject>
@required
/// One chunk of output as it was read, at most 2048 bytes; nil for a chunk that is not UTF-8.
- (void)shellCommandHasOutputAvailable:(NSString* OV_NULLABLE)chunk;
/// Asked before the start, before every wait for output and once after the last.
- (BOOL)shellCommandShouldCancel;
@end

/// Runs one external program as a child in a session and process group of its own, with its output streamed to a
/// delegate. One object serves one run.
///
/// Threads: any, an object on one at a time; several objects run at once. The run blocks its thread, so that an
/// application keeps its main thread out of it. The child's number is read where the command runs: by its delegate,
/// too.
@interface OVShellCommand : NSObject {
  @private
    void* core_;
}

/// The child of the current or last run; 0 before a run has forked, -1 when the start failed.
@property(readonly) int32_t processID;

/// Runs the program at the absolute path with the arguments (strings, without its name; an element of another class
/// raises `NSInvalidArgumentException`) and blocks until it has ended, or until a cancel could not be sent. The
/// delegate is not retained. Returns an exit code, one of the constants above or -1.
- (NSInteger)runCommandAtPath:(NSString*)path
                    arguments:(NSArray OV_OF(NSString*) * OV_NULLABLE)arguments
                     delegate:(id<OVShellCommandDelegate> OV_NULLABLE)delegate;

/// Starts the program with standard output and standard error joined into one pipe. Returns the child's process ID
/// and stores the pipe's read end, which is the caller's to close; -1 when there is no child.
- (int32_t)forkAndExecCommandAtPath:(NSString*)path
                          arguments:(NSArray OV_OF(NSString*) * OV_NULLABLE)arguments
                  outFileDescriptor:(int32_t*)outFileDescriptor;

@end

OV_ASSUME_NONNULL_END
