#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// Gets the administrator right from the user and runs one program as root with it. Methods that return a status
/// return 0 or the Security framework's `OSStatus`, unchanged.
///
/// Threads: any, an object on one at a time, and no other child of the process meanwhile: each run waits for one child,
/// whichever ends first. The caller is blocked while the user is asked and while the program runs, so that an
/// application keeps its main thread out of this.
@interface OVAuthorization : NSObject {
  @private
    void* core_;
    NSString* toolPath_; // the owner's own object, which the file system may spell in another way
}

- (id)initWithToolPath:(NSString* OV_NULLABLE)toolPath;

/// The absolute path of the program to run as root: the object that was set, not retained for the caller. The right
/// has to be granted anew for another path.
@property(nonatomic, retain) NSString* OV_NULLABLE toolPath;

/// Asks for the right "system.privilege.admin" for the tool path; the framework asks the user.
- (int32_t)authenticate;
/// Gives the right up. Deliberately does not forget that it was granted: a run after it fails with the framework's
/// status.
- (int32_t)deauthenticate;

/// Runs the tool path as root with the arguments: C strings up to a null pointer, without the program's name. The
/// program's exit status is not reported.
- (int32_t)runWithPriviliges:(char* OV_NULLABLE const* OV_NULLABLE)arguments
    OV_SWIFT_NAME(runWithPriviliges(arguments:));

/// "/bin/rm -rf" with the path, as root.
- (int32_t)removeWithPriviliges:(NSString*)path OV_SWIFT_NAME(removeWithPriviliges(_:));
/// "/bin/cp -f" with both paths, as root.
- (int32_t)copyWithPriviliges:(NSString*)source to:(NSString*)destination OV_SWIFT_NAME(copyWithPriviliges(_:to:));
/// "/bin/mkdir -p" with the path, as root.
- (int32_t)createDirectoryAtPath:(NSString*)path;

/// Authenticates, runs the tool and gives the right up. Failures are logged.
+ (int32_t)runToolWithPriviliges:(NSString*)toolPath
                       arguments:(char* OV_NULLABLE const* OV_NULLABLE)arguments
    OV_SWIFT_NAME(runToolWithPriviliges(_:arguments:));

@end

OV_ASSUME_NONNULL_END
