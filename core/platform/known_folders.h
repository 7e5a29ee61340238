// Where this system's tools keep what belongs to a user.
#pragma once

#include <string_view>

namespace brindle {

// The folder of caches, relative to the home folder: "Library/Caches" on macOS, ".cache" elsewhere.
extern const std::string_view kUserCachesFolder;

}  // namespace brindle
