// "Stop": set by the one who waits, polled by everybody who works.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

namespace brindle {

// Thread-safe. Copies of a flag's test share its state and may outlive it.
class CancellationFlag {
  public:
    bool isCancelled() const { return state_->load(std::memory_order_relaxed); }
    void cancel() { state_->store(true, std::memory_order_relaxed); }

    std::function<bool()> checker() const {
        return [state = state_] { return state->load(std::memory_order_relaxed); };
    }

  private:
    std::shared_ptr<std::atomic<bool>> state_ = std::make_shared<std::atomic<bool>>(false);
};

}  // namespace brindle
