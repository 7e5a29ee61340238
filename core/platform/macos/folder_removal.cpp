// Every mount has a device number of its own here.
#include "core/platform/folder_removal.h"

#include <cerrno>

namespace brindle {

int openOnSameMount(OpenFolder& folder, const OpenFolder& parent, const char* name) {
    FileStatus above;
    FileStatus own;
    if (const int failure = parent.status(above); failure != 0) return failure;
    if (const int failure = folder.openAt(parent, name); failure != 0) return failure;
    if (const int failure = folder.status(own); failure != 0) return failure;
    return own.device == above.device ? 0 : EXDEV;
}

}  // namespace brindle
