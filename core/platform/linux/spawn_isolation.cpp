#include "core/platform/posix/spawn_isolation.h"

namespace brindle {

int closeOtherDescriptors(posix_spawn_file_actions_t& actions, short& /*flags*/) {
    return ::posix_spawn_file_actions_addclosefrom_np(&actions, 3);
}

int startInFolder(posix_spawn_file_actions_t& actions, const char* folder) {
    return ::posix_spawn_file_actions_addchdir_np(&actions, folder);
}

}  // namespace brindle
