#include "core/platform/known_folders.h"

namespace brindle {

const std::string_view kUserCachesFolder = "Library/Caches";

std::vector<std::string_view> foldersBehindPrompts() {
    return {"Desktop", "Documents", "Downloads", "Library/Mobile Documents", "Library/Containers",
            "/Volumes"};
}

}  // namespace brindle
