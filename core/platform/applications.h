// Which applications the system itself knows. Both may be called from any thread.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brindle {

// Whether the system's own record of applications has one with this bundle identifier, in any case and on any mounted
// volume. Absent where the system keeps no such record, and when it does not answer.
std::optional<bool> systemKnowsApplication(const std::string& bundleIdentifier);

// The program files of all processes that run now, absolute; those that ended or cannot be asked are left out. Absent
// when the system does not say.
std::optional<std::vector<std::string>> runningPrograms();

}  // namespace brindle
