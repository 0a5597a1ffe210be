#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

/// An executable's setuid-root state. Installed: owner root, mode 04555. Surrendered: owner the process's real user,
/// mode 0500.
///
/// Threads: the two questions on any. The two changes switch the effective user id of the whole process, so that no
/// other thread may depend on it meanwhile; an application has them made by a process of their own
/// ("repairPriviliges").
@interface NSFileManager (SUIDRoot)

/// Makes the file setuid root. 0, or the `errno` of the step that failed, which is logged. A nil path stops the process
/// with a failed assertion.
- (int32_t)setSUIDRoot:(NSString*)path;
/// Takes the state away and hands the file to the real user. Result and nil as with `setSUIDRoot:`.
- (int32_t)surrenderSUIDRoot:(NSString*)path;
/// Whether the file is owned by root and has the set-user-ID bit. NO for a path that cannot be examined.
- (BOOL)isSetUIDRoot:(NSString* OV_NULLABLE)path;
/// Whether the volume that holds the path ignores set-user-ID bits. NO for a path that cannot be examined.
- (BOOL)isIgnoringSetUIDAtPath:(NSString* OV_NULLABLE)path;

@end

OV_ASSUME_NONNULL_END
