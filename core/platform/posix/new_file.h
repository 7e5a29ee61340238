// A file written to the end and onto the disk. For the bodies of core/platform only.
#pragma once

#include <string>
#include <string_view>

namespace brindle {

// Makes a file (0600) in the open folder; one that is there already is EEXIST. Its content has reached the disk when
// 0 comes back; with an errno no file is left. What root makes belongs to the folder's owner.
int writeNewFileAt(int folder, const std::string& name, std::string_view content);

}  // namespace brindle
