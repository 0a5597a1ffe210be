#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <vector>

/// Tests that run on the stage, as its root: "/" is the disposable macOS-shaped root, the tool stands in its
/// place and does its work on real files. Each test gets a stage of its own.
namespace orvane::stage {

using Strings = std::vector<std::string>;

inline constexpr const char* kTool = "/usr/local/libexec/OrvaneTool";
inline constexpr uid_t kRoot = 0;
inline constexpr uid_t kAnn = 501;
inline constexpr uid_t kBob = 502;
inline constexpr gid_t kStaff = 20;

/// How a process is started: as an unprivileged caller can choose it.
struct Start {
    uid_t user = kAnn;
    std::string path = kTool;
    Strings words;                            ///< behind the program name
    std::optional<Strings> argumentVector;    ///< the whole vector instead, an empty one included
    std::optional<Strings> environment;       ///< "NAME=value", else a login's
    std::string input;                        ///< what standard input holds
    std::function<void()> asRoot = [] {};     ///< in the child, before the user changes
    std::function<void()> beforeExec = [] {}; ///< in the child, as the user
};

struct Result {
    int waitStatus = 0;
    std::string output; ///< standard output
    std::string errors; ///< standard error

    /// The exit code; -1 when a signal ended the process.
    [[nodiscard]] int exitCode() const;
    /// The signal that ended the process, else 0.
    [[nodiscard]] int signal() const;
};

/// Starts the process and waits for its end.
Result run(const Start& start);
/// Runs the tool as the user.
Result runTool(uid_t user, const Strings& words);
/// Starts the process without waiting; its output is dropped.
pid_t launch(const Start& start);

/// "yes", or why the stage lacks what the key names.
std::string capability(const std::string& key);

void write(const std::string& path, const std::string& content, uid_t owner = kRoot, mode_t mode = 0644);
std::string read(const std::string& path);
bool exists(const std::string& path); ///< a dangling link exists, too
struct stat status(const std::string& path);
mode_t modeOf(const std::string& path);
void makeFolder(const std::string& path, uid_t owner = kRoot, mode_t mode = 0755);
Strings namesIn(const std::string& folder);
Strings glob(const std::string& pattern);
Strings lines(const std::string& text);

/// Puts a program in /bin/sh's place that runs nothing and notes what it was started with.
void recordShell();

/// What the recording shell saw, one entry a start.
struct Recorded {
    Strings words;                          ///< its argument vector
    Strings environment;                    ///< in the order it came
    std::map<int, std::string> descriptors; ///< open ones: "/dev/null" or "another file"
    std::map<int, rlimit> limits;           ///< by resource
    std::vector<int> blockedSignals;
    std::vector<int> ignoredSignals;
    mode_t mask = 0;
    std::string folder;
    Strings userIDs; ///< real, effective, saved
};
std::vector<Recorded> recorded();

/// Takes the first date line, the empty line and the last date line off; fails the test when they are not
/// there.
std::string withoutFrame(const std::string& output);

} // namespace orvane::stage

/// Ends the test as skipped, with the reason, when the stage lacks what it needs.
#define ORVANE_NEEDS(key)                                                                                              \
    do {                                                                                                               \
        const std::string reason = ::orvane::stage::capability(key);                                                   \
        if (reason != "yes") {                                                                                         \
            GTEST_SKIP() << "the stage has no " << key << ": " << reason;                                              \
        }                                                                                                              \
    } while (false)
