// The system images that virtual devices start from: API/TAG/ABI below a folder system-images of the Android SDK.
#pragma once

#include <vector>

#include "core/model/cleanup_item.h"
#include "core/modules/android_devices.h"

namespace brindle {

// The SDK of macOS, then that of Linux (which Brindle only shows); by API level, tag and processor.
std::vector<CleanupItem> systemImageItems(const ScanContext& context, const VirtualDevices& found);

bool hasSystemImages(const ScanContext& context);

}  // namespace brindle
