#pragma once

#include <atomic>
#include <memory>

namespace orvane {

/// A value that is made when it is first asked for, and kept. Threads that ask at the same time may each make one; all
/// get the same. Needs neither a guard nor anything at the process's end, so that it can stand in a constinit object.
template <typename Value> class MadeOnce {
  public:
    /// `make` returns a `std::unique_ptr<Value>`; `whenKept` is called, once in all, with the one that is kept.
    template <typename Make, typename WhenKept> Value& value(const Make& make, const WhenKept& whenKept) {
        Value* kept = kept_.load(std::memory_order_acquire);
        if (kept != nullptr) {
            return *kept;
        }
        std::unique_ptr<Value> made = make();
        if (kept_.compare_exchange_strong(kept, made.get(), std::memory_order_acq_rel, std::memory_order_acquire)) {
            kept = made.release();
            whenKept(*kept);
        }
        return *kept;
    }
    template <typename Make> Value& value(const Make& make) {
        return value(make, [](const Value&) {});
    }

    /// For an owner that does not live for ever.
    void discard() { delete kept_.exchange(nullptr); }

  private:
    std::atomic<Value*> kept_{nullptr};
};

} // namespace orvane
