// Moving a file by its links. For the bodies of core/platform only.
#pragma once

#include <string>

#include "core/platform/open_folder.h"

namespace brindle {

// renameWithoutReplacing where the file system does not know such a move: link(2) never replaces either.
int moveByLink(const OpenFolder& from, const std::string& name, const OpenFolder& to,
               const std::string& newName);

}  // namespace brindle
