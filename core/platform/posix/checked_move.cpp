#include "core/platform/posix/checked_move.h"

#include <sys/stat.h>

#include <cerrno>

#include "core/platform/rename.h"

namespace brindle {

namespace {

using End = MoveOutcome::End;

int moveNow(const Move& move) {
    return renameWithoutReplacing(move.from, move.name, move.to, move.newName);
}

bool lacksWriteBit(const FileStatus& status) {
    return status.isFolder() && (status.mode & S_IWUSR) == 0;
}

// A folder that goes to another parent has its ".." rewritten, for which the system wants the right to write in it.
int moveMakingWritable(const Move& move, const FileStatus& approved) {
    OpenFolder folder;
    if (const int failure = folder.openAt(move.from, move.name.c_str()); failure != 0) return failure;
    FileStatus opened;
    if (const int failure = folder.status(opened); failure != 0) return failure;
    if (!isSameObject(opened, approved)) return EACCES;
    const auto bits = static_cast<mode_t>(approved.mode & 07777U);
    if (::fchmod(folder.descriptor(), bits | S_IWUSR) != 0) return errno;
    const int failure = moveNow(move);
    // Through the descriptor, so wherever the folder lies now.
    ::fchmod(folder.descriptor(), bits);
    return failure;
}

}  // namespace

MoveOutcome moveApproved(const Move& move, const FileStatus& approved) {
    FileStatus now;
    if (const int failure = move.from.statusAt(move.name.c_str(), now); failure != 0)
        return {failure == ENOENT ? End::missing : End::failed, failure};
    if (!isSameObject(now, approved)) return {End::replaced};
    int failure = moveNow(move);
    if (failure == EACCES && lacksWriteBit(approved)) failure = moveMakingWritable(move, approved);
    if (failure != 0) return {End::failed, failure};
    if (move.to.statusAt(move.newName.c_str(), now) == 0 && isSameObject(now, approved)) return {};
    if (!move.movesBack) return {End::stuck};
    const int back = renameWithoutReplacing(move.to, move.newName, move.from, move.name);
    return {back == 0 ? End::replaced : End::stuck, back};
}

}  // namespace brindle
