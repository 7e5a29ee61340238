#include "core/platform/background_activity.h"

#include <xpc/activity.h>
#include <xpc/xpc.h>

#include <mutex>
#include <utility>

#include "core/platform/priority.h"

namespace brindle {

namespace {

// What a firing needs; it outlives the activity while one is under way.
struct Firing {
    std::function<void()> fire;
    std::recursive_mutex lock;  // held while firing; a firing may destroy the activity
    bool isOver = false;
};

// The system keeps the time under the identifier, also while this program does not run.
class SystemActivity final : public BackgroundActivity {
  public:
    explicit SystemActivity(ActivityOrder order)
        : identifier_(std::move(order.identifier)), firing_(std::make_shared<Firing>()) {
        firing_->fire = std::move(order.fire);
        const xpc_object_t criteria = xpc_dictionary_create(nullptr, nullptr, 0);
        xpc_dictionary_set_int64(criteria, XPC_ACTIVITY_INTERVAL, order.interval.count());
        xpc_dictionary_set_int64(criteria, XPC_ACTIVITY_GRACE_PERIOD, order.tolerance.count());
        xpc_dictionary_set_bool(criteria, XPC_ACTIVITY_REPEATING, true);
        xpc_dictionary_set_string(criteria, XPC_ACTIVITY_PRIORITY, XPC_ACTIVITY_PRIORITY_MAINTENANCE);
        const std::shared_ptr<Firing> firing = firing_;
        xpc_activity_register(identifier_.c_str(), criteria, ^(xpc_activity_t activity) {
          if (xpc_activity_get_state(activity) != XPC_ACTIVITY_STATE_RUN) return;
          const std::lock_guard guard(firing->lock);
          if (firing->isOver) return;
          lowerPriority();
          firing->fire();
        });
        xpc_release(criteria);
    }

    ~SystemActivity() override {
        const std::lock_guard guard(firing_->lock);
        firing_->isOver = true;
        xpc_activity_unregister(identifier_.c_str());
    }

  private:
    std::string identifier_;
    std::shared_ptr<Firing> firing_;
};

}  // namespace

std::unique_ptr<BackgroundActivity> startBackgroundActivity(ActivityOrder order) {
    return std::make_unique<SystemActivity>(std::move(order));
}

}  // namespace brindle
