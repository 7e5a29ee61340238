// What Xcode builds and indexes: one folder a project in DerivedData, and the caches that all projects share.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"

namespace brindle {

// Xcode names a project's folder after it, with "-" and 28 small letters behind, made from the workspace's path:
// "MyApp-gqrkybvfoqwvzjfvkhvnubiwdwxy" is "MyApp". Absent for a name of another form.
std::optional<std::string> projectOfDerivedData(std::string_view folderName);

// One item a folder of Library/Developer/Xcode/DerivedData. Safe when it is Xcode's by name and content; review when
// it holds what Xcode writes under a name that Xcode does not give; protected when nothing in it is known.
std::vector<CleanupItem> derivedDataItems(const ScanContext& context);

}  // namespace brindle
