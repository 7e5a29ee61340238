// The file in which a Trash keeps the sizes of its folders. For the bodies of core/platform only.
//
// Best effort: it saves the desktop a walk, and a line that is missing costs no more than that walk. Replaced whole, so
// that a reader never sees half of it.
#pragma once

#include <string>

#include "core/platform/linux/trash_folder.h"

namespace brindle {

void noteTrashSize(const TrashFolder& trash, const std::string& name, std::uint64_t bytes);
void forgetTrashSize(const OpenFolder& root, const std::string& name);

}  // namespace brindle
