#import <Foundation/Foundation.h>

#include <stdint.h>

// What the headers say of nil, for compilers that can be told.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#if __has_feature(nullability)
#define OV_NULLABLE _Nullable
#define OV_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define OV_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#else
#define OV_NULLABLE
#define OV_ASSUME_NONNULL_BEGIN
#define OV_ASSUME_NONNULL_END
#endif

// Exported names have C linkage.
#ifdef __cplusplus
#define OV_EXTERN extern "C"
#else
#define OV_EXTERN extern
#endif
