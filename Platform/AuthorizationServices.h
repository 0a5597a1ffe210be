#pragma once

#include <cstddef>
#include <cstdint>

namespace orvane {

/// An open authorization of the Security framework (`AuthorizationRef`).
struct Authorization;
using AuthorizationReference = Authorization*;

/// One right that is asked for (`AuthorizationItem`). Points into its caller's memory.
struct AuthorizationItem {
    const char* name = nullptr;
    std::size_t valueLength = 0; ///< bytes at `value`, without a terminating zero
    const void* value = nullptr; ///< null when the right has no value
    std::uint32_t flags = 0;
};

// The framework's flags and statuses that the system uses, with their values.
inline constexpr std::uint32_t kAuthorizationDefaults = 0;           ///< `kAuthorizationFlagDefaults`
inline constexpr std::uint32_t kAuthorizationInteractionAllowed = 1; ///< `kAuthorizationFlagInteractionAllowed`
inline constexpr std::uint32_t kAuthorizationExtendRights = 2;       ///< `kAuthorizationFlagExtendRights`
inline constexpr std::uint32_t kAuthorizationDestroyRights = 8;      ///< `kAuthorizationFlagDestroyRights`

inline constexpr std::int32_t kAuthorizationSuccess = 0;                    ///< `errAuthorizationSuccess`
inline constexpr std::int32_t kAuthorizationInvalidRef = -60002;            ///< `errAuthorizationInvalidRef`
inline constexpr std::int32_t kAuthorizationInvalidPointer = -60004;        ///< `errAuthorizationInvalidPointer`
inline constexpr std::int32_t kAuthorizationCanceled = -60006;              ///< `errAuthorizationCanceled`
inline constexpr std::int32_t kAuthorizationInteractionNotAllowed = -60007; ///< `errAuthorizationInteractionNotAllowed`
inline constexpr std::int32_t kAuthorizationInternal = -60008;              ///< `errAuthorizationInternal`
inline constexpr std::int32_t kAuthorizationToolExecuteFailure = -60031;    ///< `errAuthorizationToolExecuteFailure`

/// Rights of the Security framework. Every function returns 0 or the framework's `OSStatus`, unchanged; for a null
/// reference that is `kAuthorizationInvalidRef`.
class AuthorizationServices {
  public:
    /// The system's. Without the framework a process whose effective user id is 0 has every right already, whatever
    /// its name, and no other can get one, for there is nobody to ask the user
    /// (`kAuthorizationInteractionNotAllowed`). Lives for ever; may be used from any thread.
    static AuthorizationServices& platform();

    /// `AuthorizationCreate` with no rights and no environment. On success the caller owns what `reference` receives
    /// and gives it back by `free`.
    virtual std::int32_t create(std::uint32_t flags, AuthorizationReference* reference) = 0;

    /// `AuthorizationCopyRights` with one right, no environment and no request for the granted rights. May ask the
    /// user and wait for the answer.
    virtual std::int32_t copyRights(AuthorizationReference reference, const AuthorizationItem& right,
                                    std::uint32_t flags) = 0;

    /// `AuthorizationExecuteWithPrivileges` without a communications pipe: starts the program at the path as root
    /// (effective user id 0) and does not wait for it; the caller reaps the child. The arguments end with a null
    /// pointer and do not include the program's name. `kAuthorizationToolExecuteFailure` when there is no such
    /// program, `kAuthorizationInvalidPointer` when there is no path.
    virtual std::int32_t executeWithPrivileges(AuthorizationReference reference, const char* pathToTool,
                                               std::uint32_t flags, char* const* arguments) = 0;

    /// `AuthorizationFree`.
    virtual std::int32_t free(AuthorizationReference reference, std::uint32_t flags) = 0;

  protected:
    ~AuthorizationServices() = default;
};

} // namespace orvane
