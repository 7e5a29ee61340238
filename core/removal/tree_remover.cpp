#include "core/removal/tree_remover.h"

#include <fmt/format.h>

#include <cerrno>
#include <utility>

#include "core/measure/patient_open.h"
#include "core/measure/walk_workers.h"
#include "core/platform/folder_removal.h"
#include "core/platform/path_text.h"
#include "core/platform/rename.h"
#include "core/removal/folder_contents.h"

namespace brindle {

namespace {

std::string nameSetAside(const PathIdentity& identity) {
    return fmt::format(".brindle-removes-{:x}", identity.inode);
}

PathIdentity identityOf(const FileStatus& status) {
    return {.device = status.device, .inode = status.inode, .mode = status.mode};
}

bool isSameObject(const FileStatus& status, const PathIdentity& identity) {
    return status.device == identity.device && status.inode == identity.inode;
}

RemovalOutcome replaced() {
    return {.end = RemovalOutcome::End::replaced};
}

RemovalOutcome failed(int code, std::string_view operation, const std::string& path) {
    if (code == ENOENT) return replaced();
    return {.end = RemovalOutcome::End::partly, .failures = 1, .first = errorFrom(code, operation, path)};
}

// The walk may have given the owner more rights; and the name may be another's by now.
int removeEmptied(const OpenFolder& parent, const std::string& name, const PathIdentity& approved) {
    FileStatus status;
    if (const int failure = parent.statusAt(name.c_str(), status); failure != 0) return failure;
    return isSameObject(status, approved) ? removeFolderAt(parent, name.c_str()) : ESTALE;
}

RemovalOutcome removeFolder(const OpenFolder& parent, const std::string& name, const PathIdentity& approved,
                            const std::string& path) {
    OpenFolder folder;
    FileStatus status;
    int failure = openPatiently([&] { return openOnSameMount(folder, parent, name.c_str()); });
    if (failure == ELOOP || failure == ENOTDIR) return replaced();
    if (failure == 0) failure = folder.status(status);
    if (failure != 0) return failed(failure, "open", path);
    if (identityOf(status) != approved) return replaced();
    if (failure = mayChange(parent); failure != 0) return failed(failure, "remove", path);

    FolderContents contents(path);
    for (int pass = 1;; ++pass) {
        const bool isClean = walkArena().execute([&] { return contents.removeAll(folder); });
        failure = isClean ? removeEmptied(parent, name, approved) : 0;
        // What failed on the way, such as a listing of what was empty already, did not keep anything.
        if (isClean && failure == 0) return {};
        const bool isFilledAgain = failure == ENOTEMPTY || failure == EEXIST;
        if (!isFilledAgain || pass == FolderContents::kMostPasses || listAgain(folder) != 0) break;
    }
    if (failure != 0) contents.note(failure, "remove", path);
    return {.end = RemovalOutcome::End::partly, .failures = contents.failures(), .first = contents.first()};
}

// A file cannot be removed by descriptor, so between looking and removing it gets a name that nobody else uses.
RemovalOutcome removeFile(const OpenFolder& parent, const std::string& name, const PathIdentity& approved,
                          const std::string& path) {
    const std::string aside = nameSetAside(approved);
    FileStatus status;
    if (const int failure = renameWithoutReplacing(parent, name, parent, aside); failure != 0) {
        return failed(failure, "remove", path);
    }
    int failure = parent.statusAt(aside.c_str(), status);
    const bool isApproved = failure == 0 && identityOf(status) == approved;
    if (isApproved) failure = removeEntryAt(parent, aside.c_str());
    if (isApproved && failure == 0) return {};
    const int stuck = renameWithoutReplacing(parent, aside, parent, name);
    if (stuck != 0) return failed(stuck, "put back what had taken the place of", path);
    return failure == 0 ? replaced() : failed(failure, "remove", path);
}

}  // namespace

void bringBackSetAside(const std::string& path, const PathIdentity& identity) {
    const std::string aside = nameSetAside(identity);
    const std::string standard = standardisedPath(path);
    OpenFolder parent;
    FileStatus status;
    if (parent.openWithoutLinks(folderOf(standard)) != 0) return;
    if (parent.statusAt(aside.c_str(), status) != 0 || status.inode != identity.inode) return;
    renameWithoutReplacing(parent, aside, parent, std::string(lastComponent(standard)));
}

RemovalOutcome TreeRemover::remove(const OpenFolder& parent, const std::string& name,
                                   const PathIdentity& approved, const std::string& path) const {
    FileStatus status;
    if (const int failure = parent.statusAt(name.c_str(), status); failure != 0) {
        return failed(failure, "examine", path);
    }
    if (identityOf(status) != approved) return replaced();
    return status.isFolder() ? removeFolder(parent, name, approved, path)
                             : removeFile(parent, name, approved, path);
}

}  // namespace brindle
