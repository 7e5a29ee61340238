#include <sys/stat.h>

#include <cerrno>

#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/trash_parts.h"

namespace brindle {

namespace {

using Kind = TrashError::Kind;

constexpr std::uint32_t kModeOfParents = 0755;

bool isAbsent(int code) {
    return code == ENOENT || code == ENOTDIR;
}

// The way to the home is the system's, and may hold links; what lies beneath it is not followed.
int openOrigin(OpenFolder& parent, const std::string& path, const std::string& home) {
    const bool isInHome = isAtOrBelow(path, home);
    const auto start = canonicalPath(isInHome ? home : "/");
    if (!start) return start.error().code;
    OpenFolder top;
    if (const int failure = top.openWithoutLinks(*start); failure != 0) return failure;
    return parent.openBelow(top, std::string_view(path).substr(isInHome ? home.size() : 0), kModeOfParents);
}

}  // namespace

std::string joined(const std::string& folder, const std::string& name) {
    return folder + (folder.ends_with('/') ? "" : "/") + name;
}

TrashError trashErrorFrom(const MoveOutcome& outcome, const std::string& path, const std::string& newPath) {
    switch (outcome.end) {
        case MoveOutcome::End::missing:
            return {.kind = Kind::missing, .path = path};
        case MoveOutcome::End::replaced:
            return {.kind = Kind::replaced, .path = path};
        case MoveOutcome::End::stuck:
            return {.kind = Kind::replaced, .path = path, .liesAt = newPath};
        case MoveOutcome::End::moved:
        case MoveOutcome::End::failed:
            break;
    }
    return trashFailure(outcome.code, "move", path);
}

bool isObjectOfType(const FileStatus& found, const FileStatus& object) {
    return found.device == object.device && found.inode == object.inode &&
           ((found.mode ^ object.mode) & S_IFMT) == 0;
}

int nameOfObject(OpenFolder& files, const FileStatus& object, std::string& name) {
    EntryBlock block;
    int failure = 0;
    for (bool isAtEnd = false; !isAtEnd;) {
        if (const int unread = files.read(block, isAtEnd); unread != 0) return unread;
        ListedEntry entry;
        FileStatus status;
        while (block.next(entry)) {
            const int unseen = files.statusAt(entry.name, status);
            if (unseen != 0 && !isAbsent(unseen)) failure = unseen;
            if (unseen != 0 || !isObjectOfType(status, object)) continue;
            name = entry.name;
            return 0;
        }
    }
    return failure;
}

std::expected<void, TrashError> Trash::putBack(const std::string& trashedPath,
                                               const std::string& originalPath,
                                               const FileStatus& recorded) const {
    const std::string origin = standardisedPath(originalPath);
    const std::string name(lastComponent(trashedPath));
    const std::string newName(lastComponent(origin));
    if (name.empty() || newName.empty()) return TrashFailure(trashFailure(EINVAL, "put back", trashedPath));

    OpenFolder files;
    if (const int failure = files.openWithoutLinks(folderOf(trashedPath)); failure != 0) {
        if (isAbsent(failure)) return TrashFailure({.kind = Kind::missing, .path = trashedPath});
        return TrashFailure(trashFailure(failure, "open", folderOf(trashedPath)));
    }
    FileStatus now;
    if (const int failure = files.statusAt(name.c_str(), now); failure != 0) {
        if (isAbsent(failure)) return TrashFailure({.kind = Kind::missing, .path = trashedPath});
        return TrashFailure(trashFailure(failure, "examine", trashedPath));
    }
    if (!isObjectOfType(now, recorded)) return TrashFailure({.kind = Kind::replaced, .path = trashedPath});

    OpenFolder parent;
    if (const int failure = openOrigin(parent, folderOf(origin), home_); failure != 0)
        return TrashFailure(trashFailure(failure, "open", folderOf(origin)));
    // Whoever may write there may already have exchanged what came back: that is told, and nothing moved once more.
    const MoveOutcome outcome =
        moveApproved({.from = files, .name = name, .to = parent, .newName = newName}, now);
    if (outcome.end == MoveOutcome::End::failed && outcome.code == EEXIST)
        return TrashFailure({.kind = Kind::occupied, .path = origin});
    if (outcome.end != MoveOutcome::End::moved)
        return TrashFailure(trashErrorFrom(outcome, trashedPath, origin));
    // The record goes only when the object's return would outlast a power cut.
    if (syncToDisk(parent.descriptor()) == 0) forgetTrashRecord(files, trashedPath);
    return {};
}

}  // namespace brindle
