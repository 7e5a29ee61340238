// What differs between systems when a child is to inherit nothing: one body each in platform/linux and
// platform/macos.
#pragma once

#include <spawn.h>

namespace brindle {

// Lets the child keep descriptors 0, 1 and 2 as the actions set them up and nothing else. Call after all
// other actions are added. Returns 0 or an errno; `flags` gains what the system needs.
int closeOtherDescriptors(posix_spawn_file_actions_t& actions, short& flags);

// Starts the child in `folder`. Returns 0 or an errno.
int startInFolder(posix_spawn_file_actions_t& actions, const char* folder);

}  // namespace brindle
