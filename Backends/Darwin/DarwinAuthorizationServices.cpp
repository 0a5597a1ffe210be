#include "Platform/AuthorizationServices.h"

#include <Security/Security.h>

namespace orvane {

namespace {

static_assert(kAuthorizationDefaults == kAuthorizationFlagDefaults);
static_assert(kAuthorizationInteractionAllowed == kAuthorizationFlagInteractionAllowed);
static_assert(kAuthorizationExtendRights == kAuthorizationFlagExtendRights);
static_assert(kAuthorizationDestroyRights == kAuthorizationFlagDestroyRights);

static_assert(kAuthorizationSuccess == errAuthorizationSuccess);
static_assert(kAuthorizationInvalidRef == errAuthorizationInvalidRef);
static_assert(kAuthorizationInvalidPointer == errAuthorizationInvalidPointer);
static_assert(kAuthorizationCanceled == errAuthorizationCanceled);
static_assert(kAuthorizationInteractionNotAllowed == errAuthorizationInteractionNotAllowed);
static_assert(kAuthorizationInternal == errAuthorizationInternal);
static_assert(kAuthorizationToolExecuteFailure == errAuthorizationToolExecuteFailure);

/// The framework's reference under the name that it has here, and back. Nobody but the framework looks inside.
AuthorizationReference referenceFrom(AuthorizationRef reference) {
    return reinterpret_cast<AuthorizationReference>(const_cast<AuthorizationOpaqueRef*>(reference));
}

AuthorizationRef frameworkReference(AuthorizationReference reference) {
    return reinterpret_cast<AuthorizationRef>(reference);
}

class DarwinAuthorizationServices final : public AuthorizationServices {
  public:
    std::int32_t create(std::uint32_t flags, AuthorizationReference* reference) override {
        AuthorizationRef created = nullptr;
        const OSStatus status = ::AuthorizationCreate(nullptr, kAuthorizationEmptyEnvironment, flags, &created);
        if (status == errAuthorizationSuccess) {
            *reference = referenceFrom(created);
        }
        return status;
    }

    std::int32_t copyRights(AuthorizationReference reference, const AuthorizationItem& right,
                            std::uint32_t flags) override {
        // Only read, but not declared so
        ::AuthorizationItem item = {right.name, right.valueLength, const_cast<void*>(right.value), right.flags};
        const AuthorizationRights rights = {1, &item};
        return ::AuthorizationCopyRights(frameworkReference(reference), &rights, kAuthorizationEmptyEnvironment, flags,
                                         nullptr);
    }

    std::int32_t executeWithPrivileges(AuthorizationReference reference, const char* pathToTool, std::uint32_t flags,
                                       char* const* arguments) override {
        if (pathToTool == nullptr) {
            // The framework takes no such path.
            return reference == nullptr ? errAuthorizationInvalidRef : errAuthorizationInvalidPointer;
        }
        char* const none = nullptr;
        // Deprecated, and still the only call that starts a program as root for the user's password alone.
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wdeprecated-declarations"
        return ::AuthorizationExecuteWithPrivileges(frameworkReference(reference), pathToTool, flags,
                                                    arguments != nullptr ? arguments : &none, nullptr);
#pragma clang diagnostic pop
    }

    std::int32_t free(AuthorizationReference reference, std::uint32_t flags) override {
        return ::AuthorizationFree(frameworkReference(reference), flags);
    }
};

} // namespace

AuthorizationServices& AuthorizationServices::platform() {
    static constinit DarwinAuthorizationServices services;
    return services;
}

} // namespace orvane
