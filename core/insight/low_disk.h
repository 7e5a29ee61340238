// Whether it is time to tell the user that space is low.
#pragma once

#include <optional>
#include <string>

#include "core/model/disk_info.h"
#include "core/platform/user_defaults.h"
#include "core/text/calendar.h"

namespace brindle {

struct LowDiskAlert {
    std::string title;  // localised
    std::string body;
};

// To be asked after a scan, of the volume it looked at. An alert when they are wanted and less is free than the
// threshold, and then not again for 86,400 seconds, in any process; that the last one lies in the future does not count.
// Enough space forgets the last alert. Without a store that can be written there is no alert: it would come each time.
std::optional<LowDiskAlert> checkLowDisk(const std::shared_ptr<UserDefaults>& defaults,
                                         const std::optional<DiskInfo>& disk, TimePoint now);

}  // namespace brindle
