#include "core/platform/applications.h"

namespace brindle {

// Applications have no identifiers of this kind here, and nobody records them.
std::optional<bool> systemKnowsApplication(const std::string& /*bundleIdentifier*/) {
    return std::nullopt;
}

std::optional<std::vector<std::string>> runningPrograms() {
    return std::nullopt;
}

}  // namespace brindle
