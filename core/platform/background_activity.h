// Work that repeats by itself while this process runs, at a time that suits the system.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>

#include "core/text/calendar.h"

namespace brindle {

struct ActivityOrder {
    std::string identifier;  // reverse domain; the system knows the activity by it
    std::chrono::seconds interval{};
    std::chrono::seconds tolerance{};    // how much earlier or later the system may choose
    std::optional<TimePoint> lastFired;  // absent: never, so the first time comes at once
    std::function<void()> fire;          // on a thread of low priority; never twice at once
};

// Runs until it is destroyed, which waits for a firing under way, unless it is that firing that destroys it.
class BackgroundActivity {
  public:
    virtual ~BackgroundActivity() = default;
};

// The system's own where it has one, which then also keeps the time over restarts; otherwise a timer's.
std::unique_ptr<BackgroundActivity> startBackgroundActivity(ActivityOrder order);

// What a timer goes by.
class ActivityClock {
  public:
    virtual ~ActivityClock() = default;
    virtual TimePoint now() const = 0;
    // Returns after that time, and at once when it is asked to stop. A machine may sleep meanwhile.
    virtual void wait(std::chrono::seconds most, const std::stop_token& stop) = 0;
};

// A thread of low priority that looks at the clock again and again: it fires when the interval has passed since it last
// did, and when that moment lies in the future, for then the clock was set back. A time that was slept through is made
// up for once. Without a clock it goes by the system's.
std::unique_ptr<BackgroundActivity> startTimerActivity(ActivityOrder order,
                                                       std::shared_ptr<ActivityClock> clock = nullptr);

}  // namespace brindle
