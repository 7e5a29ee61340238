// Builds that were archived to be shipped: Library/Developer/Xcode/Archives/DATE/NAME.xcarchive.
#pragma once

#include <vector>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"

namespace brindle {

// One protected row each, with what its Info.plist says of it.
std::vector<CleanupItem> archiveItems(const ScanContext& context);

}  // namespace brindle
