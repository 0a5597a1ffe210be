#pragma once

// What Backends/Darwin/ uses of the framework.

#include <MacTypes.h>
#include <cstddef>

using AuthorizationRef = const struct AuthorizationOpaqueRef*;
using AuthorizationFlags = UInt32;

struct AuthorizationItem {
    const char* name;
    std::size_t valueLength;
    void* value;
    UInt32 flags;
};

struct AuthorizationItemSet {
    UInt32 count;
    AuthorizationItem* items;
};
using AuthorizationRights = AuthorizationItemSet;
using AuthorizationEnvironment = AuthorizationItemSet;

constexpr const AuthorizationEnvironment* kAuthorizationEmptyEnvironment = nullptr;

enum : AuthorizationFlags {
    kAuthorizationFlagDefaults = 0,
    kAuthorizationFlagInteractionAllowed = 1U << 0U,
    kAuthorizationFlagExtendRights = 1U << 1U,
    kAuthorizationFlagDestroyRights = 1U << 3U,
};

enum : OSStatus {
    errAuthorizationSuccess = 0,
    errAuthorizationInvalidRef = -60002,
    errAuthorizationInvalidPointer = -60004,
    errAuthorizationCanceled = -60006,
    errAuthorizationInteractionNotAllowed = -60007,
    errAuthorizationInternal = -60008,
    errAuthorizationToolExecuteFailure = -60031,
};

extern "C" {
OSStatus AuthorizationCreate(const AuthorizationRights* rights, const AuthorizationEnvironment* environment,
                             AuthorizationFlags flags, AuthorizationRef* authorization);
OSStatus AuthorizationCopyRights(AuthorizationRef authorization, const AuthorizationRights* rights,
                                 const AuthorizationEnvironment* environment, AuthorizationFlags flags,
                                 AuthorizationRights** authorizedRights);
OSStatus AuthorizationExecuteWithPrivileges(AuthorizationRef authorization, const char* pathToTool,
                                            AuthorizationFlags options, char* const* arguments,
                                            struct __sFILE** communicationsPipe);
OSStatus AuthorizationFree(AuthorizationRef authorization, AuthorizationFlags flags);
}
