#import <Foundation/Foundation.h>

#include <stdint.h>

// What the headers say beyond the language, to compilers and frameworks that can be told.
#ifndef __has_feature
#define __has_feature(feature) 0
#endif
#ifndef __has_attribute
#define __has_attribute(attribute) 0
#endif

// What may be nil.
#if __has_feature(nullability)
#define OV_NULLABLE _Nullable
#define OV_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define OV_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#else
#define OV_NULLABLE
#define OV_ASSUME_NONNULL_BEGIN
#define OV_ASSUME_NONNULL_END
#endif

// What a collection holds, where the collections of Foundation can say so.
#if __has_feature(objc_generics) && (defined(__MAC_10_11) || defined(GS_GENERIC_CLASS))
#define OV_OF(...) <__VA_ARGS__>
#else
#define OV_OF(...)
#endif

// An enumeration of a given width; strings that are values of a type of their own in Swift; a better name there.
#ifdef NS_ENUM
#define OV_ENUM(type, name) NS_ENUM(type, name)
#else
#define OV_ENUM(type, name)                                                                                            \
    type name;                                                                                                         \
    enum
#endif
#if __has_attribute(swift_newtype)
#define OV_TYPED_ENUM __attribute__((swift_newtype(enum)))
#else
#define OV_TYPED_ENUM
#endif
#if __has_attribute(swift_name)
#define OV_SWIFT_NAME(name) __attribute__((swift_name(#name)))
#else
#define OV_SWIFT_NAME(name)
#endif

// Exported names have C linkage.
#ifdef __cplusplus
#define OV_EXTERN extern "C"
#else
#define OV_EXTERN extern
#endif
