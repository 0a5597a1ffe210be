#include "Tasks/OVTaskRunner.h"

#include <atomic>
#include <cstdio>
#include <memory>

/// Shows what a task prints and ends it when asked to.
class Owner : public orvane::OVTaskDelegate {
  public:
    void cancel() { cancelled_ = true; }

    // The runner sends neither of the two; they are for an owner's own reports.
    void taskWillBegin(orvane::OVTask* /*task*/) override {}
    void task(orvane::OVTask* /*task*/, std::int32_t /*completedWithStatus*/) override {}

    // At most 2048 bytes, cut anywhere; nothing for bytes that are not UTF-8.
    void hasOutputAvailable(std::optional<std::string_view> output) override {
        if (output) {
            std::fwrite(output->data(), 1, output->size(), stdout);
            std::fflush(stdout);
        }
    }

    // Asked before a command starts and at least twice a second while it runs.
    bool shouldCancel() override { return cancelled_; }

    // Answers to the tasks that ask; "nothing" ends such a task as cancelled.
    std::optional<std::string> archiveDesktopPath() override { return "~/Desktop"; }
    std::uint64_t largeFilesSize() override { return 100; }
    std::optional<std::vector<std::string>> inputPathsWithDirectoriesOnly(bool /*directoriesOnly*/,
                                                                          bool /*allowsMultipleSelection*/) override {
        return std::nullopt;
    }

  private:
    std::atomic<bool> cancelled_{false}; // set from whichever thread has the button
};

int main() {
    const auto owner = std::make_shared<Owner>();
    orvane::OVTaskRunner runner;
    runner.setDelegate(owner);

    const std::int32_t succeeded = runner.runBashCommand("echo 'Hello from a task'");
    std::printf("status %d\n", succeeded);

    const std::int32_t failed = runner.runCommand("/bin/ls", {"/no such folder"});
    std::printf("status %d\n", failed);

    const std::int32_t unanswered = runner.forceDeleteFiles();
    std::printf("status %d\n", unanswered);

    owner->cancel();
    const std::int32_t cancelled = runner.runBashCommand("echo never");
    std::printf("status %d\n", cancelled);

    runner.setDelegate(nullptr); // the runner's end releases nothing
    return 0;
}
