// Files that are written beside another one and renamed over it: how they are called, and what becomes of those whose
// process was killed before the renaming. For the bodies of core/platform only.
#pragma once

#include <string>

#include "core/platform/open_folder.h"

namespace brindle {

// No other call of this process has had it, and no other process that runs now.
std::string nextTemporaryName();

// Removes the files so named of processes that run no more.
void removeAbandonedFrom(OpenFolder& folder);

}  // namespace brindle
