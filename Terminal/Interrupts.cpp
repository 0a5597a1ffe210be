#include "Terminal/Interrupts.h"

#include <atomic>
#include <csignal>
#include <initializer_list>

namespace orvane::terminal {

namespace {

std::atomic<int> interruptions = 0;
std::atomic<int> first = 0;
static_assert(std::atomic<int>::is_always_lock_free);

void note(int number) {
    if (number == SIGINT) {
        ++interruptions;
    }
    int none = 0;
    first.compare_exchange_strong(none, number);
}

} // namespace

void Interrupts::take() {
    struct sigaction action = {};
    action.sa_handler = note; // no SA_RESTART: a question that waits for its answer ends
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        ::sigaction(number, &action, nullptr);
    }
    // Not ignored, which the task's programs would inherit.
    action.sa_handler = [](int) {};
    ::sigaction(SIGPIPE, &action, nullptr);
}

int Interrupts::count() {
    return interruptions;
}

int Interrupts::signal() {
    return first;
}

} // namespace orvane::terminal
