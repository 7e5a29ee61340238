#include "core/platform/known_folders.h"

namespace brindle {

const std::string_view kUserCachesFolder = ".cache";

std::vector<std::string_view> foldersBehindPrompts() {
    return {};
}

}  // namespace brindle
