#include "Backends/Posix/PosixAuthorizationServices.h"

#include "Platform/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <vector>

namespace orvane {

struct Authorization {};

namespace {

struct ChildPlan {
    SystemCalls& calls;
    const char* path;
    char* const* arguments;
    int failureEnd; ///< closed by the exec; a byte comes out of it when there was none
};

void runChild(void* context) {
    const ChildPlan& plan = *static_cast<const ChildPlan*>(context);
    sigset_t all;
    sigfillset(&all);
    plan.calls.sigprocmask(SIG_UNBLOCK, &all, nullptr);
    plan.calls.execv(plan.path, plan.arguments);
    const char failed = 1;
    plan.calls.write(plan.failureEnd, &failed, 1);
}

/// Whether a byte comes before the end, which the exec brings.
bool hasFailed(SystemCalls& calls, int descriptor) {
    char failed = 0;
    ssize_t count = -1;
    while ((count = calls.read(descriptor, &failed, 1)) < 0 && errno == EINTR) {
    }
    return count != 0;
}

/// A process is root, and then may do everything, or there is no way for it to become root.
class PosixAuthorizationServices final : public AuthorizationServices {
  public:
    std::int32_t create(std::uint32_t /*flags*/, AuthorizationReference* reference) override {
        if (reference == nullptr) {
            return kAuthorizationInvalidPointer;
        }
        *reference = new Authorization;
        return kAuthorizationSuccess;
    }

    std::int32_t copyRights(AuthorizationReference reference, const AuthorizationItem& /*right*/,
                            std::uint32_t /*flags*/) override {
        return statusOfRights(reference);
    }

    std::int32_t executeWithPrivileges(AuthorizationReference reference, const char* pathToTool,
                                       std::uint32_t /*flags*/, char* const* arguments) override {
        // Asked once more: the process may have given its rights up since.
        const std::int32_t status = statusOfRights(reference);
        return status != kAuthorizationSuccess ? status : startProgram(pathToTool, arguments, SystemCalls::platform());
    }

    std::int32_t free(AuthorizationReference reference, std::uint32_t /*flags*/) override {
        if (reference == nullptr) {
            return kAuthorizationInvalidRef;
        }
        delete reference;
        return kAuthorizationSuccess;
    }

  private:
    static std::int32_t statusOfRights(AuthorizationReference reference) {
        if (reference == nullptr) {
            return kAuthorizationInvalidRef;
        }
        return SystemCalls::platform().geteuid() == 0 ? kAuthorizationSuccess : kAuthorizationInteractionNotAllowed;
    }
};

} // namespace

std::int32_t startProgram(const char* path, char* const* arguments, SystemCalls& calls) {
    if (path == nullptr) {
        return kAuthorizationInvalidPointer;
    }
    std::vector<char*> vector = {const_cast<char*>(path)};
    for (char* const* argument = arguments; argument != nullptr && *argument != nullptr; ++argument) {
        vector.push_back(*argument);
    }
    vector.push_back(nullptr);

    std::array<int, 2> ends = {-1, -1};
    if (calls.pipe(ends.data()) != 0) {
        return kAuthorizationToolExecuteFailure;
    }
    ChildPlan plan = {calls, path, vector.data(), ends[1]};
    const pid_t started = forkChild(calls, runChild, &plan);
    calls.close(ends[1]);
    const bool failed = started < 0 || hasFailed(calls, ends[0]);
    calls.close(ends[0]);
    return failed ? kAuthorizationToolExecuteFailure : kAuthorizationSuccess;
}

AuthorizationServices& AuthorizationServices::platform() {
    static constinit PosixAuthorizationServices services;
    return services;
}

} // namespace orvane
