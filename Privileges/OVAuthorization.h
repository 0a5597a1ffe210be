#pragma once

#include "Platform/AuthorizationServices.h"
#include "Platform/SystemCalls.h"

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>

namespace orvane {

/// Asks the user for the administrator right and runs one program as root with it: a tool, or one of three file
/// operations. For a process without root rights of its own; the command-line tool never uses it.
///
/// Create it with a tool path, `authenticate` (or let `runWithPriviliges` do it), run as often as needed, and
/// `deauthenticate`, or let the object go. A granted right belongs to the path it was asked for: another path asks
/// again.
///
/// Functions that report a status return 0 or the Security framework's `OSStatus`, unchanged (`kAuthorizationCanceled`
/// when the user cancels). Nothing but `runToolWithPriviliges` logs. Paths are file-system representations; null is
/// nil. Not thread-safe.
class OVAuthorization {
  public:
    /// `initWithToolPath:`: the absolute path of the program to run as root. Asks nobody for anything yet. The
    /// services must outlive the object.
    explicit OVAuthorization(std::optional<std::string> toolPath,
                             AuthorizationServices& services = AuthorizationServices::platform(),
                             SystemCalls& calls = SystemCalls::platform());
    OVAuthorization(const OVAuthorization&) = delete;
    OVAuthorization& operator=(const OVAuthorization&) = delete;
    /// `dealloc`: deauthenticates.
    ~OVAuthorization();

    /// `toolPath`: the program to run; the object's own, valid until the next change.
    [[nodiscard]] const std::optional<std::string>& toolPath() const { return toolPath_; }
    /// `setToolPath:`: another program, for which the right has to be asked for anew. The authorization reference is
    /// kept.
    void setToolPath(std::optional<std::string> path);

    /// `authenticate`: asks for the right "system.privilege.admin" with the tool path as its value, or without a value
    /// where there is no path (`AuthorizationCreate` unless there is a reference already, then
    /// `AuthorizationCopyRights`). May show the framework's dialog and wait for the user. A refusal keeps the reference
    /// for another try and forgets no right granted before.
    std::int32_t authenticate();

    /// `deauthenticate`: gives the authorization reference and its rights back (`AuthorizationFree`); 0 where there is
    /// none. The object deliberately still takes itself for authenticated: the next run asks nobody and fails for want
    /// of a reference, until the tool path is set or `authenticate` is called.
    std::int32_t deauthenticate();

    /// `runWithPriviliges:`: authenticates unless that is done, starts the tool with root as its effective user id
    /// (`AuthorizationExecuteWithPrivileges`), and waits. The arguments are C strings that end with a null pointer,
    /// without the program's name.
    ///
    /// The wait is one `wait` whatever became of the start: it takes any one child of the process, not the tool in
    /// particular, so the process should have no other children meanwhile. The tool's exit status is thrown away; the
    /// status returned is that of its start.
    std::int32_t runWithPriviliges(char* const* arguments);

    // The three file operations: each sets the tool path to a system program, runs it and sets the path back. The user
    // is therefore asked for each of them, and again by the run that follows. A path is one argument, whatever
    // characters it holds; null ends the arguments where it stands.

    /// `removeWithPriviliges:`: `/bin/rm -rf path`.
    std::int32_t removeWithPriviliges(const char* path);
    /// `copyWithPriviliges:to:`: `/bin/cp -f path to`.
    std::int32_t copyWithPriviliges(const char* path, const char* to);
    /// `createDirectoryAtPath:`: `/bin/mkdir -p path`.
    std::int32_t createDirectoryAtPath(const char* path);

    /// `runToolWithPriviliges:arguments:`: authenticates, runs the tool once and deauthenticates. Returns the status of
    /// the first step that failed, which is logged, and 0 otherwise, also when the tool ended with an error.
    static std::int32_t runToolWithPriviliges(const std::optional<std::string>& toolPath, char* const* arguments,
                                              AuthorizationServices& services = AuthorizationServices::platform(),
                                              SystemCalls& calls = SystemCalls::platform());

  private:
    /// `fileSystemRepresentation` of the tool path: null for none.
    [[nodiscard]] const char* toolRepresentation() const;
    std::int32_t runProgram(const char* program, std::initializer_list<const char*> arguments);

    AuthorizationReference authRef_ = nullptr;
    std::optional<std::string> toolPath_;
    bool isAuthenticated_ = false; ///< the right was granted for the current tool path
    AuthorizationServices& services_;
    SystemCalls& calls_;
};

} // namespace orvane
