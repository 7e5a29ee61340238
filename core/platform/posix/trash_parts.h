// What the bodies of the Trash share, and what differs between systems. For the bodies of core/platform only.
#pragma once

#include <expected>
#include <string>

#include "core/platform/open_folder.h"
#include "core/platform/posix/checked_move.h"
#include "core/platform/trash.h"

namespace brindle {

using TrashFailure = std::unexpected<TrashError>;

inline TrashError trashFailure(int code, std::string_view operation, const std::string& path) {
    return {.kind = TrashError::Kind::failed, .path = path, .cause = errorFrom(code, operation, path)};
}

// The path in the folder; none doubles the "/" of the top folder.
std::string joined(const std::string& folder, const std::string& name);

// The error for a move that did not end well. `path` is the object, `newPath` where it was to go.
TrashError trashErrorFrom(const MoveOutcome& outcome, const std::string& path, const std::string& newPath);

// The name of an object in a listing of the Trash with this device, inode and type. Without one `name` stays as it is: 0
// when there is none, an errno when not all could be looked at.
int nameOfObject(OpenFolder& files, const FileStatus& object, std::string& name);
bool isObjectOfType(const FileStatus& found, const FileStatus& object);

// One body a system. Takes away what the Trash has written down of an object that has left it. Best effort: what stays
// behind is a record of nothing, which every desktop passes over.
void forgetTrashRecord(const OpenFolder& files, const std::string& trashedPath);

}  // namespace brindle
