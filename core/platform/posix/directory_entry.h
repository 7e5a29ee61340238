// What every listing has to know of a directory entry. For the bodies of core/platform only.
#pragma once

#include <dirent.h>

#include "core/platform/open_folder.h"

namespace brindle {

inline ListedEntry::Kind kindOfEntry(unsigned char type) {
    if (type == DT_DIR) return ListedEntry::Kind::folder;
    if (type == DT_UNKNOWN) return ListedEntry::Kind::unknown;
    return ListedEntry::Kind::other;
}

inline bool isSelfOrParent(const char* name) {
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace brindle
