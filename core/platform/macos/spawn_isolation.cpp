#include "core/platform/posix/spawn_isolation.h"

namespace brindle {

// Descriptors that an action sets up stay open; every other one counts as close-on-exec.
int closeOtherDescriptors(posix_spawn_file_actions_t& /*actions*/, short& flags) {
    flags = static_cast<short>(flags | POSIX_SPAWN_CLOEXEC_DEFAULT);
    return 0;
}

int startInFolder(posix_spawn_file_actions_t& actions, const char* folder) {
    return ::posix_spawn_file_actions_addchdir_np(&actions, folder);
}

}  // namespace brindle
