#include "core/platform/known_folders.h"

namespace brindle {

const std::string_view kUserCachesFolder = ".cache";

}  // namespace brindle
