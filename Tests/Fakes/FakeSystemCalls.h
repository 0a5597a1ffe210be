#pragma once

#include "Backends/Posix/PosixSystemCalls.h"

#include <cerrno>
#include <csignal>
#include <map>
#include <string>
#include <vector>

namespace orvane::testing {

/// Records the calls in order and answers each with success, or with the failure set for it. Nothing is
/// really done.
class FakeSystemCalls final : public PosixSystemCalls {
  public:
    std::vector<std::string> calls;

    /// What `getuid` and `geteuid` answer; `seteuid` and `setuid` change it as the system would for root.
    uid_t realUser = 501;
    uid_t effectiveUser = 0;
    struct stat fileStatus = {};
    sigset_t blockedSignals = {};
    sigset_t blockedAtChange = {}; ///< when a file's mode was last changed
    pid_t group = 0;
    int killpgResult = 0;
    int systemResult = 0;

    /// The `count`-th call (from 1) of this name fails with `error`.
    void fail(const std::string& name, int error, int count = 1) { failures_[name] = {error, count}; }

    uid_t getuid() override { return realUser; }
    uid_t geteuid() override { return effectiveUser; }
    int setuid(uid_t userID) override { return changeUser("setuid", userID); }
    int seteuid(uid_t userID) override { return changeUser("seteuid", userID); }
    int setreuid(uid_t realUserID, uid_t effectiveUserID) override {
        const int result = record("setreuid", std::to_string(realUserID) + "," + std::to_string(effectiveUserID));
        if (result == 0) {
            realUser = realUserID;
            effectiveUser = effectiveUserID;
        }
        return result;
    }
    int sigprocmask(int how, const sigset_t* signals, sigset_t* previous) override {
        if (previous != nullptr) {
            *previous = blockedSignals;
        }
        if (how == SIG_SETMASK) {
            blockedSignals = *signals;
        } else {
            for (int number = 1; number < NSIG; ++number) {
                if (sigismember(signals, number) == 1) {
                    how == SIG_BLOCK ? sigaddset(&blockedSignals, number) : sigdelset(&blockedSignals, number);
                }
            }
        }
        return record("sigprocmask", std::to_string(how));
    }
    int chown(const char* path, uid_t owner, gid_t groupID) override {
        return record("chown", std::string(path) + "," + std::to_string(static_cast<int>(owner)) + "," +
                                   std::to_string(static_cast<int>(groupID)));
    }
    int chmod(const char* path, mode_t mode) override { return record("chmod", std::string(path) + "," + octal(mode)); }
    int access(const char* path, int mode) override {
        return record("access", std::string(path) + "," + std::to_string(mode));
    }
    int stat(const char* path, struct stat* status) override {
        *status = fileStatus;
        return record("stat", path);
    }
    int lstat(const char* path, struct stat* status) override {
        *status = fileStatus;
        return record("lstat", path);
    }
    int fstat(int descriptor, struct stat* status) override {
        *status = fileStatus;
        return record("fstat", std::to_string(descriptor));
    }
    int fchown(int descriptor, uid_t owner, gid_t groupID) override {
        return record("fchown", std::to_string(descriptor) + "," + std::to_string(static_cast<int>(owner)) + "," +
                                    std::to_string(static_cast<int>(groupID)));
    }
    int fchmod(int descriptor, mode_t mode) override {
        blockedAtChange = blockedSignals;
        return record("fchmod", std::to_string(descriptor) + "," + octal(mode));
    }
    int close(int descriptor) override { return record("close", std::to_string(descriptor)); }
    pid_t getpgid(pid_t processID) override { return record("getpgid", std::to_string(processID)) == 0 ? group : -1; }
    int killpg(pid_t processGroup, int signal) override {
        const int result = record("killpg", std::to_string(processGroup) + "," + std::to_string(signal));
        return result == 0 ? killpgResult : result;
    }
    int system(const char* line) override {
        lines.emplace_back(line);
        return systemResult;
    }

    std::vector<std::string> lines; ///< what `system` was given

  private:
    struct Failure {
        int error;
        int count;
    };

    static std::string octal(mode_t mode) {
        std::string digits;
        for (auto rest = static_cast<unsigned>(mode); rest != 0; rest /= 8) {
            digits.insert(digits.begin(), static_cast<char>('0' + rest % 8));
        }
        return "0" + digits;
    }

    int record(const std::string& name, const std::string& arguments) {
        calls.push_back(name + "(" + arguments + ")");
        const auto failure = failures_.find(name);
        if (failure != failures_.end() && --failure->second.count == 0) {
            errno = failure->second.error;
            return -1;
        }
        return 0;
    }

    int changeUser(const char* name, uid_t userID) {
        const int result = record(name, std::to_string(userID));
        if (result == 0) {
            effectiveUser = userID;
        }
        return result;
    }

    std::map<std::string, Failure> failures_;
};

} // namespace orvane::testing
