#include "Host/OVToolClient.h"

#include <atomic>
#include <csignal>
#include <cstdio>

std::atomic<bool> interrupted{false};

/// Shows what a task prints, and ends it when the user has typed Ctrl-C.
class Owner : public orvane::OVToolClientDelegate {
  public:
    void toolHasOutputAvailable(std::string_view bytes) override { std::fwrite(bytes.data(), 1, bytes.size(), stdout); }
    bool toolShouldCancel() override { return interrupted; }
};

int main(int argc, char* argv[]) {
    if (argc != 3) {
        return 64;
    }
    // Without a path it looks in the places where a tool is installed.
    orvane::OVToolClient client = orvane::OVToolClient::find(argv[1]);
    switch (client.state()) {
    case orvane::OVToolClient::State::missing:
        std::printf("There is no tool at %s.\n", client.path().c_str());
        return 77;
    case orvane::OVToolClient::State::notSetUp:
        std::printf("The tool may not work as root yet: %s\n", client.setUpCommand().c_str());
        return 77;
    case orvane::OVToolClient::State::ignoredSetUID:
        std::printf("The tool lies on a volume that lets no program work as root.\n");
        return 77;
    case orvane::OVToolClient::State::older:
    case orvane::OVToolClient::State::ready:
        break;
    }
    std::signal(SIGINT, [](int) { interrupted = true; }); // the task does not get it
    Owner owner;
    const orvane::OVToolClient::Result result = client.run(argv[2], std::nullopt, &owner);
    std::printf("status %d%s\n", result.status, result.cancelled ? ", cancelled" : "");
    for (const orvane::ProcessRecord& process : result.leftRunning) {
        std::printf("%s (%d) keeps running.\n", process.name, process.processID);
    }
    return result.status;
}
