// Moving the very object that was approved. For the bodies of core/platform only.
#pragma once

#include <string>

#include "core/platform/open_folder.h"

namespace brindle {

struct Move {
    const OpenFolder& from;
    std::string name;
    const OpenFolder& to;
    std::string newName;
    bool movesBack = false;  // only from a folder in which nobody else exchanges what has just arrived
};

struct MoveOutcome {
    enum class End {
        moved,
        failed,    // nothing has changed; `code` says why
        missing,   // nothing lies under the name
        replaced,  // another object lies under the name, and still does
        stuck,     // another object is under the new name, and was not or could not be moved back
    };
    End end = End::moved;
    int code = 0;  // errno
};

// Compares before the move and on the new place after it, since a move goes by name. Never over anything.
MoveOutcome moveApproved(const Move& move, const FileStatus& approved);

}  // namespace brindle
