// What takes things away from an open folder: for core/removal. No path is resolved here, and no link followed.
//
// Each returns 0 or an errno. Calls that a signal interrupts are repeated. Any thread.
#pragma once

#include "core/platform/open_folder.h"

namespace brindle {

// Anything but a folder; of a link the link itself.
int removeEntryAt(const OpenFolder& folder, const char* name);

// An empty folder; ENOTEMPTY or EEXIST when it is not, EBUSY when something is mounted there.
int removeFolderAt(const OpenFolder& folder, const char* name);

// Opens a folder in `parent` for listing, unless it is where a mount begins (EXDEV): also that of another folder of
// the same volume, which no device number tells apart. ELOOP or ENOTDIR when a link or no folder lies there.
int openOnSameMount(OpenFolder& folder, const OpenFolder& parent, const char* name);

// The parent of an open folder, wherever that lies now.
int openParentOf(OpenFolder& parent, const OpenFolder& folder);

// Lists the folder from the beginning again, with what has come since.
int listAgain(OpenFolder& folder);

// Whether this user may add to the folder and take from it: EACCES, EROFS.
int mayChange(const OpenFolder& folder);

// Lets its owner list, search and change the folder when this user is the owner; EACCES when that is somebody else.
int grantOwnerAccess(const OpenFolder& folder);

}  // namespace brindle
