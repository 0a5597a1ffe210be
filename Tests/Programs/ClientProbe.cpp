// A host of the tool that shows what a run gives, as an ordinary user's program would be told it:
//   client_probe state | find | command [TOOL]
//   client_probe run TOOL [--cancel-when FILE | --cancel-at TEXT | --cancel-started] [--patience MS] TASK [ARGUMENT]
// The task's output goes to standard output; then standard error gets one line "status N, …". SIGINT does not end it.

#include "Host/OVToolClient.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <unistd.h>

namespace {

using namespace orvane;
using Time = std::chrono::steady_clock;

class Owner final : public OVToolClientDelegate {
  public:
    void toolHasOutputAvailable(std::string_view bytes) override {
        output.append(bytes);
        std::fwrite(bytes.data(), 1, bytes.size(), stdout);
        std::fflush(stdout);
    }

    bool toolShouldCancel() override {
        ++questions;
        const bool cancels = (!file.empty() && ::access(file.c_str(), F_OK) == 0) ||
                             (!text.empty() && output.find(text) != std::string::npos) || (started && questions > 1);
        if (cancels) {
            cancelled = Time::now();
        }
        return cancels;
    }

    void toolIsRunning(std::string_view program) override { programs.emplace(program); }

    std::string file;
    std::string text;
    bool started = false;

    std::string output;
    int questions = 0;
    Time::time_point cancelled;
    std::set<std::string> programs;
};

const char* name(OVToolClient::State state) {
    switch (state) {
    case OVToolClient::State::missing:
        return "missing";
    case OVToolClient::State::notSetUp:
        return "notSetUp";
    case OVToolClient::State::ignoredSetUID:
        return "ignoredSetUID";
    case OVToolClient::State::older:
        return "older";
    case OVToolClient::State::ready:
        return "ready";
    }
    return "?";
}

long long milliseconds(Time::duration time) {
    return std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
}

int run(const std::vector<std::string>& words) {
    Owner owner;
    std::chrono::milliseconds patience = std::chrono::seconds(2);
    std::size_t next = 2;
    for (; next < words.size() && words[next].starts_with("--"); ++next) {
        if (words[next] == "--cancel-started") {
            owner.started = true;
        } else if (words[next] == "--cancel-when") {
            owner.file = words.at(++next);
        } else if (words[next] == "--cancel-at") {
            owner.text = words.at(++next);
        } else {
            patience = std::chrono::milliseconds(std::stoi(words.at(++next)));
        }
    }
    const std::string& task = words.at(next);
    const auto argument = next + 1 < words.size() ? std::optional(words[next + 1]) : std::nullopt;
    const auto result = OVToolClient(words.at(1)).run(task, argument, &owner, patience);
    std::fprintf(stderr, "status %d, wait %d, error %d, cancelled %d, after %lld ms of %lld, left:", result.status,
                 result.waitStatus, result.error, result.cancelled ? 1 : 0,
                 result.cancelled ? milliseconds(Time::now() - owner.cancelled) : -1,
                 static_cast<long long>(result.duration.count()));
    for (const ProcessRecord& process : result.leftRunning) {
        std::fprintf(stderr, " %s", process.name);
    }
    std::fprintf(stderr, ", ran:");
    for (const std::string& program : owner.programs) {
        std::fprintf(stderr, " %s", program.c_str());
    }
    std::fprintf(stderr, "\n");
    return 0;
}

void note(int /*signal*/) {
    static_cast<void>(::write(STDERR_FILENO, "interrupted\n", 12) == 12);
}

} // namespace

int main(int count, char** words) {
    std::signal(SIGINT, note);
    const std::vector<std::string> all(words + 1, words + count);
    const auto tool = all.size() > 1 ? std::optional(all[1]) : std::nullopt;
    if (all.at(0) == "run") {
        return run(all);
    }
    const OVToolClient client = OVToolClient::find(tool);
    if (all.at(0) == "state") {
        std::printf("%s\n", name(client.state()));
    } else if (all.at(0) == "find") {
        std::printf("%s\n", client.path().c_str());
    } else {
        std::printf("%s\n%s\n", client.setUpCommand().c_str(), client.surrenderCommand().c_str());
    }
    return 0;
}
