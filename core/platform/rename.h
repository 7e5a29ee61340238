// Moving an object within one file system, never over another.
#pragma once

#include <string>

#include "core/platform/open_folder.h"

namespace brindle {

// Moves what lies under `name` in one open folder to `newName` in another; a link is moved as the link. Returns 0 or an
// errno with nothing changed: EEXIST when something has the new name, EXDEV for another file system. Where the file
// system cannot move so in one step, a file gets its new name before it loses the old one, and a folder is EINVAL.
int renameWithoutReplacing(const OpenFolder& from, const std::string& name, const OpenFolder& to,
                           const std::string& newName);

}  // namespace brindle
