#include "core/platform/user_defaults.h"

namespace brindle {

std::shared_ptr<UserDefaults> standardDefaults(const std::string& configFolder) {
    return fileDefaults(configFolder + "/brindle/preferences.json");
}

}  // namespace brindle
