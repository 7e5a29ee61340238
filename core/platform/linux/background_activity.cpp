#include "core/platform/background_activity.h"

namespace brindle {

std::unique_ptr<BackgroundActivity> startBackgroundActivity(ActivityOrder order) {
    return startTimerActivity(std::move(order));
}

}  // namespace brindle
