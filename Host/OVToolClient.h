#pragma once

#include "Platform/AuthorizationServices.h"
#include "Platform/Executable.h"
#include "Platform/ProcessTable.h"
#include "Platform/SystemCalls.h"
#include "Platform/Volumes.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace orvane {

/// Receives the output of a running task and decides whether it goes on. Called on the thread that runs it.
class OVToolClientDelegate {
  public:
    virtual ~OVToolClientDelegate() = default;

    /// Bytes as they were read, standard output and standard error in one, cut anywhere. Valid for the call only.
    virtual void toolHasOutputAvailable(std::string_view bytes) = 0;
    /// Asked before the start, ten times a second and after each piece of output; not any more after a yes.
    virtual bool toolShouldCancel() = 0;
    /// Ten times a second, when there is no output: the program that runs now ("rm"), the deepest and youngest of the
    /// task's; "" when it is not known.
    virtual void toolIsRunning(std::string_view /*program*/) {}
};

/// `OrvaneTool`, for a program that starts it: where it is, what state it is in, its tasks run and cancelled.
///
/// One object may be used for one run after the other, from one thread at a time.
class OVToolClient {
  public:
    /// What keeps a user from running tasks.
    enum class State : std::uint8_t {
        missing,       ///< there is no such file
        notSetUp,      ///< it does not belong to root or lacks its set-user-ID bit, or the caller may not start it
        ignoredSetUID, ///< it has both, but its volume ignores the bit
        older,         ///< it is ready, but not the file that the host brings along
        ready,
    };

    struct Services {
        SystemCalls& calls = SystemCalls::platform();
        Volumes& volumes = Volumes::platform();
        ProcessTable& processes = ProcessTable::platform();
        AuthorizationServices& authorization = AuthorizationServices::platform();
        Executable& executable = Executable::current();
    };

    /// How a run ended.
    struct Result {
        /// The tool's exit status, 128 and the number of the signal that ended it, or -1: `error` says why there is
        /// none.
        std::int32_t status = -1;
        std::int32_t waitStatus = 0; ///< as `waitpid` gave it
        /// The `errno` of what kept the tool from being started, or its status from being learnt; `ECANCELED` for a
        /// cancel before the start, `ETIMEDOUT` when a cancelled tool was not waited for any more.
        std::int32_t error = 0;
        bool cancelled = false; ///< the delegate wanted it
        /// What of the task still runs after a cancel that did not reach it in time: the programs that ignore an
        /// interrupt or are stopped, and what waits for them.
        std::vector<ProcessRecord> leftRunning;
        std::chrono::milliseconds duration = {};
    };

    /// The places where a tool is looked for, in order: `given` alone when there is one; else beside the executable,
    /// "/Library/PrivilegedHelperTools" and "/usr/local/libexec".
    static std::vector<std::string> places(const std::optional<std::string>& given = std::nullopt,
                                           Executable& executable = Executable::current());
    /// The tool that came with this program: beside the executable, or in the `libexec` beside its folder; nothing when
    /// there is none.
    static std::optional<std::string> broughtAlong(const Services& services);
    static std::optional<std::string> broughtAlong() { return broughtAlong(Services()); }
    /// The first of the places with a tool that is ready; else the first with one that is older than what was brought
    /// along; else the first with any; else the last.
    static OVToolClient find(const std::optional<std::string>& given, const Services& services);
    static OVToolClient find(const std::optional<std::string>& given = std::nullopt) { return find(given, Services()); }

    OVToolClient(std::string path, const Services& services) : path_(std::move(path)), services_(services) {}
    explicit OVToolClient(std::string path) : OVToolClient(std::move(path), Services()) {}

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Asked of the file system anew. With `newest`, a ready tool whose bytes differ from that file is older; where one
    /// of the two cannot be read, nothing is said against it.
    [[nodiscard]] State state(const char* newest = nullptr) const;

    /// The one command that sets the tool up, or takes that back, for a person to type into a shell.
    [[nodiscard]] std::string setUpCommand() const;
    [[nodiscard]] std::string surrenderCommand() const;

    /// Sets the tool up, or takes that back, asking the user for the right (`OVAuthorization`, which waits for any one
    /// child of the process). 0, or the framework's status; what came of it is asked of `state`.
    std::int32_t setUp();
    std::int32_t surrender();

    /// The same for putting that file, set up, in the tool's place: the bit is taken off the older one first, because a
    /// hard link to it would keep it.
    [[nodiscard]] std::string replaceCommand(const std::string& newest) const;
    std::int32_t replace(const std::string& newest);

    /// Runs the task (`killProcess` with its number in `argument`) as a child in a session of its own, which the
    /// terminal's signals do not reach, and waits for its end. A program that the task leaves behind with its output
    /// open is listened to for half a second beyond it. A null delegate drops the output and never cancels.
    ///
    /// A cancel sends `SIGINT` to the process groups of all descendants, the deepest first, by `killpg` where the
    /// caller may, else by the tool's own task `killProcess`, and does so again every tenth of a second to those that
    /// are still there. The tool, as long as it is alone in its group, is given two rounds to end by itself when the
    /// last of its commands has: then the status is the task's own, and its temporary files are gone. A signal or a
    /// `killProcess` that fails is tried again in the next round. What is there when `patience` is over is named in the
    /// result, nobody waits for it any more, and nobody reads its output.
    ///
    /// Only groups that the task has made are ever signalled. Each is looked up in the process table just before. What
    /// remains is the moment between that look and the signal, with `killProcess` some milliseconds: should the last
    /// process of a group end in it, and the system have given away every other number meanwhile, another's group would
    /// be interrupted. And a program that leaves both its parent and its group within a tenth of a second is not found.
    Result run(std::string_view task, const std::optional<std::string>& argument, OVToolClientDelegate* delegate,
               std::chrono::milliseconds patience = std::chrono::seconds(2));

  private:
    [[nodiscard]] std::string commandAsRoot(const char* word) const;
    std::int32_t runAsRoot(const std::string& program, const std::vector<std::string>& words);

    std::string path_;
    Services services_;
    std::vector<pid_t> unreaped_; ///< children that were not waited for
};

} // namespace orvane
