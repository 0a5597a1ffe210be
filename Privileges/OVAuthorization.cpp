#include "Privileges/OVAuthorization.h"

#include "Support/OVLog.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace orvane {

namespace {

constexpr const char* kAdministratorRight = "system.privilege.admin";

/// The framework asks the user itself where that is needed.
constexpr std::uint32_t kAskAndExtend = kAuthorizationInteractionAllowed | kAuthorizationExtendRights;

} // namespace

OVAuthorization::OVAuthorization(std::optional<std::string> toolPath, AuthorizationServices& services,
                                 SystemCalls& calls)
    : toolPath_(std::move(toolPath)), services_(services), calls_(calls) {}

OVAuthorization::~OVAuthorization() {
    deauthenticate();
}

void OVAuthorization::setToolPath(std::optional<std::string> path) {
    toolPath_ = std::move(path);
    isAuthenticated_ = false;
}

const char* OVAuthorization::toolRepresentation() const {
    return toolPath_ ? toolPath_->c_str() : nullptr;
}

std::int32_t OVAuthorization::authenticate() {
    const char* const tool = toolRepresentation();
    const AuthorizationItem right = {
        .name = kAdministratorRight, .valueLength = tool != nullptr ? std::strlen(tool) : 0, .value = tool, .flags = 0};
    std::int32_t status = authRef_ == nullptr ? services_.create(kAskAndExtend, &authRef_) : kAuthorizationSuccess;
    if (status == kAuthorizationSuccess) {
        status = services_.copyRights(authRef_, right, kAskAndExtend);
        isAuthenticated_ = isAuthenticated_ || status == kAuthorizationSuccess; // a refusal takes nothing away
    }
    return status;
}

std::int32_t OVAuthorization::deauthenticate() {
    if (authRef_ == nullptr) {
        return kAuthorizationSuccess;
    }
    // Deliberate: the flag stays, so that a later run fails instead of asking again.
    return services_.free(std::exchange(authRef_, nullptr), kAuthorizationDestroyRights);
}

std::int32_t OVAuthorization::runWithPriviliges(char* const* arguments) {
    std::int32_t status = isAuthenticated_ ? kAuthorizationSuccess : authenticate();
    if (status != kAuthorizationSuccess) {
        return status;
    }
    status = services_.executeWithPrivileges(authRef_, toolRepresentation(), kAuthorizationDefaults, arguments);
    // Deliberate: `wait`, for any child, once, whether or not one was started.
    int ignored = 0;
    calls_.waitpid(-1, &ignored, 0);
    return status;
}

std::int32_t OVAuthorization::runProgram(const char* program, std::initializer_list<const char*> arguments) {
    // Copies: an argument may be the very tool path that is about to change.
    const std::vector<std::string> copies(arguments.begin(), std::find(arguments.begin(), arguments.end(), nullptr));
    std::vector<char*> pointers;
    pointers.reserve(copies.size() + 1);
    for (const std::string& copy : copies) {
        pointers.push_back(const_cast<char*>(copy.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    pointers.push_back(nullptr);
    std::optional<std::string> saved = toolPath_;
    setToolPath(program);
    const std::int32_t status = runWithPriviliges(pointers.data());
    setToolPath(std::move(saved));
    return status;
}

std::int32_t OVAuthorization::removeWithPriviliges(const char* path) {
    return runProgram("/bin/rm", {"-rf", path});
}

std::int32_t OVAuthorization::copyWithPriviliges(const char* path, const char* to) {
    return runProgram("/bin/cp", {"-f", path, to});
}

std::int32_t OVAuthorization::createDirectoryAtPath(const char* path) {
    return runProgram("/bin/mkdir", {"-p", path});
}

std::int32_t OVAuthorization::runToolWithPriviliges(const std::optional<std::string>& toolPath, char* const* arguments,
                                                    AuthorizationServices& services, SystemCalls& calls) {
    OVAuthorization authorization(toolPath, services, calls);
    std::int32_t status = authorization.authenticate();
    if (status != kAuthorizationSuccess) {
        OVLog("Authentication: runToolWithPriviliges: error %d authenticating, will abort", status);
        return status;
    }
    status = authorization.runWithPriviliges(arguments);
    if (status != kAuthorizationSuccess) {
        OVLog("Authentication: runToolWithPriviliges: error %d running %s, will abort", status,
              toolPath ? toolPath->c_str() : "(null)");
        return status;
    }
    status = authorization.deauthenticate();
    if (status != kAuthorizationSuccess) {
        OVLog("Authentication: runToolWithPriviliges: error %d deauthenticating, will abort", status);
    }
    return status;
}

} // namespace orvane
