#include "Host/OVToolClient.h"

#include "Helpers/NSFileManager+SUIDRoot.h"
#include "Host/OVProcessFamily.h"
#include "Privileges/OVAuthorization.h"
#include "Support/OVPath.h"
#include "Support/OVText.h"
#include "Tasks/OVShellCommand.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace orvane {

namespace {

using namespace std::chrono_literals;
using Time = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr const char* kToolName = "OrvaneTool";
constexpr const char* kSetUp = "repairPriviliges";
constexpr const char* kSurrender = "surrenderPriviliges";
constexpr const char* kInstall = "/usr/bin/install";
constexpr const char* kInterrupt = "killProcess"; // with a blank and a process id in the same word
constexpr std::size_t kBufferSize = 16384;

/// Between two looks at the task's processes, two questions, two rounds of signals.
constexpr milliseconds kRound = 100ms;
/// How long a program that outlives the tool is listened to.
constexpr milliseconds kListening = 500ms;
/// After how many rounds the tool is interrupted that has no command any more.
constexpr int kRoundsAlone = 2;
/// No pipe holds more, and what still runs may write for ever.
constexpr int kLastPieces = 16;

/// How `install` makes a tool that is set up.
constexpr std::array<const char*, 4> kAsRoots = {"-o", "root", "-m", "4555"};

/// A relative path could be an option, or be looked for among the system's programs.
std::string fromFolder(const std::string& path) {
    return path.starts_with('/') ? path : "./" + path;
}

std::string shellPath(const std::string& path) {
    return shellWord(fromFolder(path));
}

pid_t waitWithoutBlocking(SystemCalls& calls, pid_t child, int* status) {
    return calls.waitpid(child, status, WNOHANG);
}

// ---- Files ----------------------------------------------------------------------------------------------------

/// Closes it at the end.
class OpenFile {
  public:
    OpenFile(SystemCalls& calls, const char* path) : calls_(calls), descriptor_(calls.open(path, O_RDONLY, 0)) {}
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        if (descriptor_ >= 0) {
            calls_.close(descriptor_);
        }
    }

    /// The next bytes, as many as there is room for unless the file ends; nothing when they cannot be read.
    template <std::size_t size> std::optional<std::string_view> read(std::array<char, size>& buffer) {
        std::size_t count = 0;
        while (count < size) {
            const ssize_t more = calls_.read(descriptor_, buffer.data() + count, size - count);
            if (more < 0 && errno != EINTR) {
                return std::nullopt;
            }
            if (more == 0) {
                break;
            }
            count += more > 0 ? static_cast<std::size_t>(more) : 0;
        }
        return std::string_view(buffer.data(), count);
    }

  private:
    SystemCalls& calls_;
    int descriptor_;
};

/// Whether both can be read and hold different bytes.
bool differ(SystemCalls& calls, const char* path, const char* other) {
    OpenFile files[] = {{calls, path}, {calls, other}};
    std::array<char, kBufferSize> buffers[2]; // NOLINT(cppcoreguidelines-pro-type-member-init)
    while (true) {
        const auto bytes = files[0].read(buffers[0]);
        const auto others = files[1].read(buffers[1]);
        if (!bytes || !others || (bytes->empty() && others->empty())) {
            return false;
        }
        if (*bytes != *others) {
            return true;
        }
    }
}

// ---- A run ----------------------------------------------------------------------------------------------------

/// One task from its start to its end.
class TaskRun {
  public:
    TaskRun(const std::string& tool, const OVToolClient::Services& services, OVToolClientDelegate* delegate,
            milliseconds patience, std::vector<pid_t>& unreaped)
        : tool_(tool), calls_(services.calls), processes_(services.processes), delegate_(delegate), patience_(patience),
          unreaped_(unreaped) {}

    OVToolClient::Result run(const std::vector<std::string>& words) {
        const Time::time_point start = Time::now();
        result_.cancelled = shouldCancel();
        result_.error = result_.cancelled ? ECANCELED : begin(words);
        if (result_.error == 0) {
            follow();
        }
        result_.duration = std::chrono::duration_cast<milliseconds>(Time::now() - start);
        return std::move(result_);
    }

  private:
    /// Starts the tool. 0 or an error number.
    std::int32_t begin(const std::vector<std::string>& words) {
        // Asked first, because a child cannot tell its parent why a program was not executed.
        if (calls_.access(tool_.c_str(), X_OK) != 0) {
            return errno;
        }
        child_ = OVShellCommand(calls_).forkAndExecCommandAtPath(tool_, words, &descriptor_);
        if (child_ < 0) {
            return errno;
        }
        family_.emplace(processes_, child_, calls_.getpgrp());
        nextLook_ = Time::now() + kRound;
        return 0;
    }

    void follow() {
        while (!isOver()) {
            const bool hasOutput = readOutput();
            reap();
            if (!result_.cancelled && !isOver() && shouldCancel()) {
                result_.cancelled = true;
                deadline_ = Time::now() + patience_;
                nextLook_ = Time::now();
            }
            if (Time::now() >= nextLook_) {
                look(hasOutput);
                nextLook_ = Time::now() + kRound;
            }
        }
        for (int pieces = 0; pieces < kLastPieces && readOutput(0ms); ++pieces) {
        }
        calls_.close(descriptor_);
        reap();
        if (result_.cancelled) {
            family_->update();
            result_.leftRunning = family_->living();
        }
        if (!hasEnded_) {
            result_.error = ETIMEDOUT;
            unreaped_.push_back(child_);
        }
    }

    [[nodiscard]] bool isOver() const {
        const Time::time_point now = Time::now();
        if (result_.cancelled) {
            return (hasEnded_ && isNobodyLeft_) || now >= deadline_;
        }
        return hasEnded_ && (isClosed_ || now >= listeningEnd_);
    }

    bool shouldCancel() { return delegate_ != nullptr && delegate_->toolShouldCancel(); }

    /// Until the next look, or less where the tool's end may come without a sign.
    milliseconds pause() {
        const auto rest = std::chrono::ceil<milliseconds>(nextLook_ - Time::now());
        pause_ = isClosed_ && !hasEnded_ ? std::min(2 * pause_, kRound) : 1ms;
        return std::clamp(isClosed_ && !hasEnded_ ? pause_ : rest, 0ms, kRound);
    }

    bool readOutput() { return readOutput(pause()); }

    /// Waits and hands one piece over. False when nothing came.
    bool readOutput(milliseconds atMost) {
        pollfd record = {};
        record.fd = isClosed_ ? -1 : descriptor_; // a negative one is passed over
        record.events = POLLIN;
        const int ready = calls_.poll(&record, 1, static_cast<int>(atMost.count()));
        const ssize_t count = ready > 0 ? calls_.read(descriptor_, buffer_.data(), buffer_.size()) : ready;
        if (count > 0) {
            if (delegate_ != nullptr) {
                delegate_->toolHasOutputAvailable(std::string_view(buffer_.data(), static_cast<std::size_t>(count)));
            }
            return true;
        }
        isClosed_ = isClosed_ || (ready > 0 && count == 0);
        if (count < 0 && errno != EINTR && errno != EAGAIN) {
            std::this_thread::sleep_for(atMost); // in place of the wait that failed; then it is tried again
        }
        return false;
    }

    /// Takes the tool's status when it has ended.
    void reap() {
        if (hasEnded_) {
            return;
        }
        int status = 0;
        const pid_t waited = waitWithoutBlocking(calls_, child_, &status);
        if (waited == 0 || (waited == -1 && errno == EINTR)) {
            return;
        }
        hasEnded_ = true;
        listeningEnd_ = Time::now() + kListening;
        nextLook_ = Time::now();
        family_->forgetFounder();
        if (waited == -1) {
            result_.error = errno;
        } else {
            constexpr int kSignalled = 128;
            result_.waitStatus = status;
            result_.status = WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
        }
    }

    void look(bool hasOutput) {
        family_->update();
        const std::vector<ProcessRecord> living = family_->living();
        isNobodyLeft_ = living.empty();
        if (!result_.cancelled) {
            if (!hasOutput && !hasEnded_ && delegate_ != nullptr) {
                const ProcessRecord* const program = family_->youngest();
                delegate_->toolIsRunning(program != nullptr ? program->name : "");
            }
            return;
        }
        const bool isAlone = living.size() == 1 && living.front().processID == child_;
        roundsAlone_ = isAlone ? roundsAlone_ + 1 : 0;
        interrupt();
    }

    /// One round of signals.
    void interrupt() {
        for (const pid_t group : family_->groups()) {
            family_->update(); // just before
            const ProcessRecord* const target = family_->inGroup(group);
            if (target == nullptr || calls_.getpgid(target->processID) != group || isLeftToItself(group)) {
                continue;
            }
            // A group may be the caller's only in part, which a signal that was sent does not tell.
            if (calls_.killpg(group, SIGINT) == 0 ? hasInterrupted_ : errno == EPERM) {
                interruptByTool(target->processID);
            }
        }
        hasInterrupted_ = true;
    }

    /// Whether the group is the tool's and holds nobody else: it ends when its commands have.
    [[nodiscard]] bool isLeftToItself(pid_t group) const {
        const std::vector<ProcessRecord> living = family_->living();
        return std::all_of(living.begin(), living.end(),
                           [&](const ProcessRecord& process) {
                               return (process.group == group) == (process.processID == child_);
                           }) &&
               roundsAlone_ <= kRoundsAlone;
    }

    /// The group of the process, by the tool as root. Whether that went well shows in the next round.
    void interruptByTool(pid_t process) {
        std::int32_t end = -1;
        const pid_t killer = OVShellCommand(calls_).forkAndExecCommandAtPath(
            tool_, {std::string(kInterrupt) + " " + std::to_string(process)}, &end);
        if (killer < 0) {
            return;
        }
        // It ends when its output does.
        std::array<char, 256> messages; // NOLINT(cppcoreguidelines-pro-type-member-init)
        pollfd record = {};
        record.fd = end;
        record.events = POLLIN;
        bool isOpen = true;
        while (isOpen && Time::now() < deadline_) {
            const auto rest = std::chrono::ceil<milliseconds>(deadline_ - Time::now());
            const int ready = calls_.poll(&record, 1, static_cast<int>(rest.count()));
            isOpen = ready <= 0 || calls_.read(end, messages.data(), messages.size()) > 0;
            if (ready < 0) {
                std::this_thread::sleep_for(1ms);
            }
        }
        calls_.close(end);
        if (isOpen) {
            unreaped_.push_back(killer);
            return;
        }
        int status = 0;
        while (calls_.waitpid(killer, &status, 0) == -1 && errno == EINTR) {
        }
    }

    const std::string& tool_;
    SystemCalls& calls_;
    ProcessTable& processes_;
    OVToolClientDelegate* const delegate_;
    const milliseconds patience_;
    std::vector<pid_t>& unreaped_;

    OVToolClient::Result result_;
    pid_t child_ = -1;
    std::int32_t descriptor_ = -1;
    std::optional<OVProcessFamily> family_;
    Time::time_point nextLook_;
    Time::time_point listeningEnd_;
    Time::time_point deadline_;
    milliseconds pause_ = 1ms;
    bool isClosed_ = false; ///< the output has ended
    bool hasEnded_ = false; ///< the tool
    bool isNobodyLeft_ = false;
    bool hasInterrupted_ = false;
    int roundsAlone_ = 0;
    std::array<char, kBufferSize> buffer_; // NOLINT(cppcoreguidelines-pro-type-member-init)
};

} // namespace

std::vector<std::string> OVToolClient::places(const std::optional<std::string>& given, Executable& executable) {
    if (given) {
        return {*given};
    }
    std::vector<std::string> places;
    if (const auto own = executable.executablePath()) {
        places.push_back(stringByAppendingPathComponent(own->substr(0, own->rfind('/') + 1), kToolName));
    }
    for (const char* folder : {"/Library/PrivilegedHelperTools", "/usr/local/libexec"}) {
        places.push_back(stringByAppendingPathComponent(folder, kToolName));
    }
    return places;
}

std::optional<std::string> OVToolClient::broughtAlong(const Services& services) {
    const auto own = services.executable.executablePath();
    if (!own) {
        return std::nullopt;
    }
    const std::string folder = own->substr(0, own->rfind('/'));
    const std::string above = folder.substr(0, folder.rfind('/')) + "/libexec";
    for (const std::string& place : {folder, above}) {
        const std::string path = place + "/" + kToolName;
        struct stat status = {};
        if (services.calls.stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode)) {
            return path;
        }
    }
    return std::nullopt;
}

OVToolClient OVToolClient::find(const std::optional<std::string>& given, const Services& services) {
    const std::vector<std::string> candidates = places(given, services.executable);
    const std::optional<std::string> newest = broughtAlong(services);
    std::vector<State> states;
    states.reserve(candidates.size());
    for (const std::string& path : candidates) {
        states.push_back(OVToolClient(path, services).state(newest ? newest->c_str() : nullptr));
    }
    for (const auto& isBest :
         {+[](State state) { return state == State::ready; }, +[](State state) { return state == State::older; },
          +[](State state) { return state != State::missing; }}) {
        const auto best = std::find_if(states.begin(), states.end(), isBest);
        if (best != states.end()) {
            return {candidates[static_cast<std::size_t>(best - states.begin())], services};
        }
    }
    return {candidates.back(), services};
}

OVToolClient::State OVToolClient::state(const char* newest) const {
    const char* const path = path_.c_str();
    struct stat status = {};
    if (services_.calls.stat(path, &status) != 0 || !S_ISREG(status.st_mode)) {
        return State::missing;
    }
    if (!SUIDRoot::isSetUIDRoot(path, services_.calls) || services_.calls.access(path, X_OK) != 0) {
        return State::notSetUp;
    }
    if (SUIDRoot::isIgnoringSetUIDAtPath(path, services_.volumes)) {
        return State::ignoredSetUID;
    }
    return newest != nullptr && differ(services_.calls, path, newest) ? State::older : State::ready;
}

std::string OVToolClient::commandAsRoot(const char* word) const {
    return "sudo " + shellPath(path_) + " " + word;
}

std::string OVToolClient::setUpCommand() const {
    return commandAsRoot(kSetUp);
}

std::string OVToolClient::surrenderCommand() const {
    return commandAsRoot(kSurrender);
}

std::string OVToolClient::replaceCommand(const std::string& newest) const {
    std::string command = surrenderCommand() + " && sudo " + kInstall;
    for (const char* word : kAsRoots) {
        command.append(" ").append(word);
    }
    return command + " " + shellPath(newest) + " " + shellPath(path_);
}

std::int32_t OVToolClient::runAsRoot(const std::string& program, const std::vector<std::string>& words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str())); // NOLINT(cppcoreguidelines-pro-type-const-cast)
    }
    arguments.push_back(nullptr);
    return OVAuthorization::runToolWithPriviliges(program, arguments.data(), services_.authorization, services_.calls);
}

std::int32_t OVToolClient::setUp() {
    return runAsRoot(path_, {kSetUp});
}

std::int32_t OVToolClient::surrender() {
    return runAsRoot(path_, {kSurrender});
}

std::int32_t OVToolClient::replace(const std::string& newest) {
    std::vector<std::string> words(kAsRoots.begin(), kAsRoots.end());
    words.insert(words.end(), {fromFolder(newest), fromFolder(path_)});
    const std::int32_t status = surrender();
    return status != 0 ? status : runAsRoot(kInstall, words);
}

OVToolClient::Result OVToolClient::run(std::string_view task, const std::optional<std::string>& argument,
                                       OVToolClientDelegate* delegate, std::chrono::milliseconds patience) {
    std::erase_if(unreaped_, [this](pid_t child) {
        int status = 0;
        return waitWithoutBlocking(services_.calls, child, &status) != 0;
    });
    std::vector<std::string> words = {std::string(task)};
    if (argument && task == kInterrupt) {
        words.front() += " " + *argument; // it reads its number from the same word
    } else if (argument) {
        words.push_back(*argument);
    }
    return TaskRun(path_, services_, delegate, patience, unreaped_).run(words);
}

} // namespace orvane
