// What is said of virtual devices, and how they go.
#pragma once

#include <vector>

#include "core/model/cleanup_item.h"
#include "core/modules/android_devices.h"

namespace brindle {

// In the order of the devices; those behind links are left out. Measures each folder.
std::vector<CleanupItem> virtualDeviceItems(const ScanContext& context, const VirtualDevices& found);

}  // namespace brindle
