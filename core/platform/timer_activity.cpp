#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "core/platform/background_activity.h"
#include "core/platform/priority.h"

namespace brindle {

namespace {

class SystemClock final : public ActivityClock {
  public:
    TimePoint now() const override { return std::chrono::system_clock::now(); }

    void wait(std::chrono::seconds most, const std::stop_token& stop) override {
        std::unique_lock guard(lock_);
        wake_.wait_for(guard, stop, most, [] { return false; });
    }

  private:
    std::mutex lock_;
    std::condition_variable_any wake_;
};

// A sleeping machine's waiting time stands still, and its clock may be set at any time: nothing is slept through for
// longer than this.
constexpr std::chrono::seconds kLongestWait = std::chrono::minutes(10);

std::chrono::seconds timeLeft(const ActivityOrder& order, TimePoint now) {
    if (!order.lastFired || now < *order.lastFired) return {};
    return std::chrono::ceil<std::chrono::seconds>(*order.lastFired + order.interval - now);
}

// Owned by its thread: a firing may destroy the activity.
void runTimer(ActivityOrder order, const std::shared_ptr<ActivityClock>& clock, const std::stop_token& stop) {
    lowerPriority();
    while (!stop.stop_requested()) {
        const TimePoint now = clock->now();
        const std::chrono::seconds left = timeLeft(order, now);
        if (left.count() > 0) {
            clock->wait(std::min(left, kLongestWait), stop);
            continue;
        }
        order.lastFired = now;
        order.fire();
    }
}

class TimerActivity final : public BackgroundActivity {
  public:
    TimerActivity(ActivityOrder order, std::shared_ptr<ActivityClock> clock)
        : thread_([order = std::move(order), clock = std::move(clock)](const std::stop_token& stop) mutable {
              runTimer(std::move(order), clock, stop);
          }) {}

    ~TimerActivity() override {
        thread_.request_stop();
        if (thread_.get_id() == std::this_thread::get_id()) thread_.detach();
    }

  private:
    std::jthread thread_;
};

}  // namespace

std::unique_ptr<BackgroundActivity> startTimerActivity(ActivityOrder order,
                                                       std::shared_ptr<ActivityClock> clock) {
    if (!clock) clock = std::make_shared<SystemClock>();
    return std::make_unique<TimerActivity>(std::move(order), std::move(clock));
}

}  // namespace brindle
