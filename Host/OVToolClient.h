#pragma once

#include "Platform/AuthorizationServices.h"
#include "Platform/ProcessTable.h"
#include "Platform/SystemCalls.h"
#include "Platform/Volumes.h"

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvane {

/// Receives the output of a running task and decides whether it goes on. Called on the thread that runs it.
class OVToolClientDelegate {
  public:
    virtual ~OVToolClientDelegate() = default;

    /// Bytes as they were read, standard output and standard error in one, cut anywhere. Valid for the call only.
    virtual void toolHasOutputAvailable(std::string_view bytes) = 0;
    /// Asked ten times a second and after each piece of output.
    virtual bool toolShouldCancel() = 0;
    /// As often, when there is no output: the deepest program that runs now ("rm"), "" when it is not known.
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
        notSetUp,      ///< it does not belong to root or lacks its set-user-ID bit
        ignoredSetUID, ///< it has both, but its volume ignores the bit
        older,         ///< it is ready, but not the file that the host brings along
        ready,
    };

    struct Services {
        SystemCalls& calls = SystemCalls::platform();
        Volumes& volumes = Volumes::platform();
        ProcessTable& processes = ProcessTable::platform();
        AuthorizationServices& authorization = AuthorizationServices::platform();
    };

    /// How a run ended.
    struct Result {
        /// The tool's exit status, 128 and the number of the signal that ended it, or -1: it could not be started
        /// (`error`).
        std::int32_t status = -1;
        std::int32_t waitStatus = 0;            ///< as `waitpid` gave it
        std::int32_t error = 0;                 ///< the `errno` of the start
        bool cancelled = false;                 ///< the delegate wanted it
        std::vector<ProcessRecord> leftRunning; ///< of the task, after a cancel that did not reach them in time
        std::chrono::milliseconds duration = {};
    };

    /// The places where a tool is looked for, in order: `given` alone when there is one; else beside the executable,
    /// "/Library/PrivilegedHelperTools" and "/usr/local/libexec".
    static std::vector<std::string> places(const std::optional<std::string>& given = std::nullopt);
    /// The first of the places that has a file, in the best state: a tool that is ready wins over one that is not. The
    /// last place when there is none.
    static OVToolClient find(const std::optional<std::string>& given, const Services& services);
    static OVToolClient find(const std::optional<std::string>& given = std::nullopt) { return find(given, Services()); }

    OVToolClient(std::string path, const Services& services) : path_(std::move(path)), services_(services) {}
    explicit OVToolClient(std::string path) : OVToolClient(std::move(path), Services()) {}

    [[nodiscard]] const std::string& path() const { return path_; }

    /// Asked of the file system anew. With `newest`, a ready tool whose bytes differ from that file is older.
    State state(const char* newest = nullptr) const;

    /// The one command that sets the tool up, or takes that back, for a person to type.
    std::string setUpCommand() const;
    std::string surrenderCommand() const;

    /// Sets the tool up, or takes that back, asking the user for the right (`OVAuthorization`). 0, or the framework's
    /// status; what came of it is asked of `state`.
    std::int32_t setUp();
    std::int32_t surrender();

    /// Runs the task (`killProcess` with its number in `argument`) as a child in a session of its own, which the
    /// terminal's signals do not reach, and waits for its end.
    ///
    /// A cancel interrupts the process groups of all descendants, the deepest first, then the tool's: the caller's own
    /// where it may, else by the tool's task `killProcess`, again every tenth of a second. What is still there after
    /// `patience` is named in the result, and nobody waits for it any more.
    Result run(std::string_view task, const std::optional<std::string>& argument, OVToolClientDelegate* delegate,
               std::chrono::milliseconds patience = std::chrono::seconds(2));

  private:
    std::string path_;
    Services services_;
};

} // namespace orvane
