#pragma once

#include "Backends/Posix/PosixSystemCalls.h"
#include "Platform/AuthorizationServices.h"
#include "Tests/Fakes/FakeServices.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <list>
#include <string>

namespace orvane::test {

/// Notes every call with copies of its arguments, and answers with the statuses set. Like the framework it refuses a
/// null reference, or no path, whatever status is set.
class FakeAuthorizationServices final : public AuthorizationServices {
  public:
    explicit FakeAuthorizationServices(Events& events) : events_(events) {}

    std::int32_t create(std::uint32_t flags, AuthorizationReference* reference) override {
        events_.push_back("create(" + std::to_string(flags) + ")");
        if (createStatus == kAuthorizationSuccess) {
            created_.push_back(static_cast<char>(created_.size()));
            *reference = reinterpret_cast<AuthorizationReference>(&created_.back());
            ++live;
        }
        return createStatus;
    }

    std::int32_t copyRights(AuthorizationReference reference, const AuthorizationItem& right,
                            std::uint32_t flags) override {
        const std::string value = right.value != nullptr
                                      ? std::string(static_cast<const char*>(right.value), right.valueLength)
                                      : "no value of " + std::to_string(right.valueLength);
        events_.push_back("copyRights(" + name(reference) + ", " + right.name + "=" + value + " " +
                          std::to_string(right.flags) + ", " + std::to_string(flags) + ")");
        return reference != nullptr ? copyRightsStatus : kAuthorizationInvalidRef;
    }

    std::int32_t executeWithPrivileges(AuthorizationReference reference, const char* pathToTool, std::uint32_t flags,
                                       char* const* arguments) override {
        std::string event = "executeWithPrivileges(" + name(reference) + ", ";
        event += pathToTool != nullptr ? pathToTool : "(null)";
        event += ", " + std::to_string(flags);
        for (char* const* argument = arguments; argument != nullptr && *argument != nullptr; ++argument) {
            event += ", [" + std::string(*argument) + "]";
        }
        events_.push_back(event + ")");
        lastArguments = arguments;
        if (reference == nullptr) {
            return kAuthorizationInvalidRef;
        }
        return pathToTool != nullptr ? executeStatus : kAuthorizationInvalidPointer;
    }

    std::int32_t free(AuthorizationReference reference, std::uint32_t flags) override {
        events_.push_back("free(" + name(reference) + ", " + std::to_string(flags) + ")");
        if (reference == nullptr) {
            return kAuthorizationInvalidRef;
        }
        --live;
        return freeStatus;
    }

    std::int32_t createStatus = kAuthorizationSuccess;
    std::int32_t copyRightsStatus = kAuthorizationSuccess;
    std::int32_t executeStatus = kAuthorizationSuccess;
    std::int32_t freeStatus = kAuthorizationSuccess;
    int live = 0;                         ///< references created and not freed
    char* const* lastArguments = nullptr; ///< as they were handed on

  private:
    /// "#1" for the first reference created.
    std::string name(AuthorizationReference reference) {
        const auto* const cell = reinterpret_cast<const char*>(reference);
        const auto found = std::find_if(created_.begin(), created_.end(), [&](const char& c) { return &c == cell; });
        if (found == created_.end()) {
            return reference == nullptr ? "null" : "unknown";
        }
        return "#" + std::to_string(std::distance(created_.begin(), found) + 1);
    }

    Events& events_;
    std::list<char> created_; ///< the addresses are the references, never the same twice
};

/// Notes the waits and lets none happen.
class NotedWaits final : public PosixSystemCalls {
  public:
    explicit NotedWaits(Events& events) : events_(events) {}
    pid_t waitpid(pid_t processID, int* status, int options) override {
        events_.push_back("waitpid(" + std::to_string(processID) + ", " + std::to_string(options) + ")");
        if (error != 0) {
            errno = error;
            return -1;
        }
        *status = 3 << 8; // an exit status that nobody may report
        return 4711;
    }
    int error = 0;

  private:
    Events& events_;
};

} // namespace orvane::test
