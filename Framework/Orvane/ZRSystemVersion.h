#import <Orvane/OVFrameworkTypes.h>

OV_ASSUME_NONNULL_BEGIN

// Threads: any, all three.

/// The running system's version. A null pointer is skipped. When the system does not tell, that is logged and the
/// version is 10.0.0.
OV_EXTERN void GetSystemVersion(int32_t* OV_NULLABLE major, int32_t* OV_NULLABLE minor, int32_t* OV_NULLABLE bugFix);

/// The version as "10.6.8".
OV_EXTERN NSString* SystemVersionString(void);

/// Whether the system is 10.6 or a later 10. Deliberately NO for 11 and on.
OV_EXTERN BOOL SystemIsSnowLeopardOrLater(void);

OV_ASSUME_NONNULL_END
