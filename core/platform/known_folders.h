// Where this system's tools keep what belongs to a user.
#pragma once

#include <string_view>
#include <vector>

namespace brindle {

// The folder of caches, relative to the home folder: "Library/Caches" on macOS, ".cache" elsewhere.
extern const std::string_view kUserCachesFolder;

// Folders, relative to the home folder or absolute, at which the system asks the user the first time a program looks into them.
std::vector<std::string_view> foldersBehindPrompts();

}  // namespace brindle
