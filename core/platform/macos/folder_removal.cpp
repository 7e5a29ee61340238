// Every mount has a device number of its own here.
#include "core/platform/folder_removal.h"

#include "core/platform/posix/same_device.h"

namespace brindle {

int openOnSameMount(OpenFolder& folder, const OpenFolder& parent, const char* name) {
    return openOnSameDevice(folder, parent, name);
}

}  // namespace brindle
