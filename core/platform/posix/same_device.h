// Where mounts are told apart by their device numbers. For bodies in core/platform only.
#pragma once

#include <cerrno>

#include "core/platform/open_folder.h"

namespace brindle {

// Opens the folder `name` of `parent`: 0, or an errno; EXDEV for one on another device.
inline int openOnSameDevice(OpenFolder& folder, const OpenFolder& parent, const char* name) {
    FileStatus above;
    FileStatus own;
    if (const int failure = parent.status(above); failure != 0) return failure;
    if (const int failure = folder.openAt(parent, name); failure != 0) return failure;
    if (const int failure = folder.status(own); failure != 0) return failure;
    return own.device == above.device ? 0 : EXDEV;
}

}  // namespace brindle
