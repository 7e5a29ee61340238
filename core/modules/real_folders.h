// Folders that are folders themselves: a removal never goes through a symbolic link, so nothing behind one is offered.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "core/scan/scan_context.h"

namespace brindle {

// Whether every component of a path below the home folder is a folder and no link.
bool isRealFolder(const ScanContext& context, std::string_view relative);

// The paths of the folders directly inside this one, by name; hidden entries and links are left out. A folder that is
// there and cannot be listed is recorded in the diagnostics.
std::vector<std::string> realFoldersIn(const ScanContext& context, const std::string& folder);

}  // namespace brindle
