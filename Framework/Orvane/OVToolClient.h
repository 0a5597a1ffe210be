#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// What keeps a user from running tasks.
typedef OV_ENUM(int32_t, OVToolState){
    OVToolStateMissing = 0,       ///< there is no such file
    OVToolStateNotSetUp = 1,      ///< it does not belong to root or lacks its set-user-ID bit, or may not be started
    OVToolStateIgnoredSetUID = 2, ///< it has both, but its volume ignores the bit
    OVToolStateOlder = 3,         ///< it is ready, but not the file that the application brings along
    OVToolStateReady = 4,
};

/// Receives the output of a running task and decides whether it goes on. An exception that one of the methods raises
/// cancels the task and is raised again from the run.
///
/// Threads: all messages arrive on the thread that runs the task.
@protocol OVToolClientDelegate <NSObject>
@required
/// Bytes as they were read, standard output and standard error in one, cut anywhere.
- (void)toolHasOutputAvailable:(NSData*)bytes;
/// Whether the task is to end. Asked before the start, ten times a second and after each piece of output; not any more
/// after a yes.
- (BOOL)toolShouldCancel;
@optional
/// Ten times a second, when there is no output: the program that runs now ("rm"), the deepest and youngest of the
/// task's; empty when it is not known.
- (void)toolIsRunning:(NSString*)program;
@end

/// How a run ended.
///
/// Threads: any; it does not change.
@interface OVToolResult : NSObject {
  @private
    int32_t status_;
    int32_t waitStatus_;
    int32_t error_;
    BOOL cancelled_;
    NSTimeInterval duration_;
    NSArray OV_OF(NSNumber*) * leftRunning_;
    NSArray OV_OF(NSString*) * leftRunningNames_;
}

/// The tool's exit status, 128 and the number of the signal that ended it, or -1: `error` says why there is none.
@property(readonly) int32_t status;
/// As `waitpid` gave it.
@property(readonly) int32_t waitStatus;
/// The `errno` of what kept the tool from being started, or its status from being learnt; `ECANCELED` for a cancel
/// before the start, `ETIMEDOUT` when a cancelled tool was not waited for any more.
@property(readonly) int32_t error;
/// Whether the delegate wanted it to end.
@property(readonly) BOOL cancelled;
/// In seconds.
@property(readonly) NSTimeInterval duration;
/// The process IDs of what of the task still runs after a cancel that did not reach it in time: the programs that
/// ignore an interrupt or are stopped, and what waits for them.
@property(readonly) NSArray OV_OF(NSNumber*) * leftRunning;
/// Their names, in the same order.
@property(readonly) NSArray OV_OF(NSString*) * leftRunningNames;
@end

/// `OrvaneTool`, for an application that starts it: where it is, what state it is in, its tasks run and cancelled. One
/// object may be used for one run after the other.
///
/// Threads: any, an object on one at a time. A run blocks its thread until the task has ended: not the main one.
@interface OVToolClient : NSObject {
  @private
    void* core_;
}

/// The places where a tool is looked for, in order: beside the executable, "/Library/PrivilegedHelperTools" and
/// "/usr/local/libexec".
+ (NSArray OV_OF(NSString*) *)places;

/// For the tool in the first of the places with one that is ready; else in the first with any; else in the last.
- (id)init;
/// For the tool at the path.
- (id)initWithPath:(NSString*)path;

/// Where the tool is.
@property(readonly) NSString* path;

/// Asked of the file system anew each time.
- (OVToolState)state;
/// The same; a ready tool whose bytes differ from the file at the path is older. Where one of the two cannot be read,
/// nothing is said against it.
- (OVToolState)stateComparedWithPath:(NSString* OV_NULLABLE)newest;

/// The one command that sets the tool up, or takes that back, for a person to type into a shell.
- (NSString*)setUpCommand;
- (NSString*)surrenderCommand;

/// Sets the tool up, or takes that back, asking the user for the right, as `OVAuthorization` does: it may show the
/// framework's dialog, and waits for any one child of the process. 0, or the Security framework's `OSStatus`; what came
/// of it is asked of `state`.
- (int32_t)setUp;
- (int32_t)surrender;

/// Runs the task, with an argument or nil, and returns at its end: not for the main thread. The delegate is not
/// retained. A cancel is given two seconds.
- (OVToolResult*)runTask:(NSString*)task
                argument:(NSString* OV_NULLABLE)argument
                delegate:(id<OVToolClientDelegate> OV_NULLABLE)delegate;
/// The same. The tool is a child in a session of its own, which the terminal's signals do not reach. A cancel
/// interrupts all that the task has started, again ten times a second, where the caller may not by the tool's own task
/// `killProcess`; what is still there when `patience`, in seconds, is over is named in the result, and nobody waits for
/// it any more.
- (OVToolResult*)runTask:(NSString*)task
                argument:(NSString* OV_NULLABLE)argument
                delegate:(id<OVToolClientDelegate> OV_NULLABLE)delegate
                patience:(NSTimeInterval)patience;

@end

OV_ASSUME_NONNULL_END
