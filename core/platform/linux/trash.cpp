#include "core/platform/trash.h"

#include <unistd.h>

#include <cerrno>
#include <climits>
#include <ctime>
#include <utility>

#include "core/platform/linux/trash_folder.h"
#include "core/platform/linux/trash_sizes.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/platform/posix/durable.h"
#include "core/platform/posix/new_file.h"
#include "core/platform/posix/temporary_file.h"
#include "core/platform/posix/trash_parts.h"
#include "core/platform/trash_record.h"

namespace brindle {

namespace {

using Kind = TrashError::Kind;
using Put = std::expected<TrashedObject, TrashError>;

// So many objects of one name in one Trash mean that something else is wrong.
constexpr unsigned kMostAttempts = 100'000;

TrashFailure noTrash(const std::string& path, Error cause) {
    return TrashFailure({.kind = Kind::noTrash, .path = path, .cause = std::move(cause)});
}

// Where an open folder lies, as the system knows it: no link is in it.
std::string pathOf(const OpenFolder& folder) {
    const std::string entry = "/proc/self/fd/" + std::to_string(folder.descriptor());
    std::string path(PATH_MAX, '\0');
    const ssize_t length = ::readlink(entry.c_str(), path.data(), path.size());
    path.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return path;
}

std::string infoName(const std::string& name) {
    return name + std::string(kTrashInfoSuffix);
}

// `folder` is where the object's folder lies, links resolved.
std::string infoFor(const TrashFolder& trash, const std::string& folder, const ObjectToTrash& object) {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    if (trash.topFolder.empty()) return trashInfo(object.path, local);
    const std::string path = joined(folder, object.name);
    return trashInfo(std::string_view(path).substr(joined(trash.topFolder, "").size()), local);
}

Put putInto(const TrashFolder& trash, const OpenFolder& parent, const ObjectToTrash& object,
            const std::string& info) {
    for (unsigned attempt = 1; attempt <= kMostAttempts; ++attempt) {
        const std::string name = trashName(object.name, attempt);
        const std::string path = joined(joined(trash.path, "files"), name);
        // Synced before the move: after a power cut there may be a record of nothing, which desktops pass over, but
        // never an object in the Trash of which nobody knows where it was.
        const int failure = writeNewFileAt(trash.info.descriptor(), infoName(name), info);
        if (failure == EEXIST) continue;
        if (failure != 0)
            return TrashFailure(
                trashFailure(failure, "write", joined(joined(trash.path, "info"), infoName(name))));
        const Move move{
            .from = parent, .name = object.name, .to = trash.files, .newName = name, .movesBack = true};
        const MoveOutcome outcome = moveApproved(move, object.approved);
        if (outcome.end == MoveOutcome::End::moved) {
            syncToDisk(trash.files.descriptor());
            if (object.size && object.approved.isFolder()) noteTrashSize(trash, name, *object.size);
            return TrashedObject{path};
        }
        // What is stuck in the Trash keeps its record.
        if (outcome.end != MoveOutcome::End::stuck)
            ::unlinkat(trash.info.descriptor(), infoName(name).c_str(), 0);
        if (outcome.end == MoveOutcome::End::failed && outcome.code == EEXIST) continue;
        return TrashFailure(trashErrorFrom(outcome, object.path, path));
    }
    return TrashFailure(trashFailure(EEXIST, "find a free name in", trash.path));
}

bool isOfAnotherVolume(const Put& put) {
    return !put && put.error().kind == Kind::failed && put.error().cause.code == EXDEV;
}

// The deepest folder on the way there that still is, links resolved.
std::string existingFolderOf(const std::string& path) {
    std::string folder = folderOf(path);
    auto real = canonicalPath(folder);
    while (!real && folder != "/" && folder != ".") {
        folder = folderOf(folder);
        real = canonicalPath(folder);
    }
    return real.value_or("/");
}

}  // namespace

Trash::Trash(const std::string& home, const std::string& dataHome)
    : home_(standardisedPath(home)),
      dataHome_(dataHome.starts_with('/') ? standardisedPath(dataHome) : joined(home_, ".local/share")) {}

std::string Trash::homeFolder() const {
    return joined(dataHome_, "Trash");
}

Put Trash::put(const OpenFolder& parent, const ObjectToTrash& object) const {
    FileStatus folder;
    if (const int failure = parent.status(folder); failure != 0)
        return TrashFailure(trashFailure(failure, "examine the folder of", object.path));
    if (object.name.empty() || object.name.contains('/') || object.name == "." || object.name == "..")
        return TrashFailure(trashFailure(EINVAL, "move", object.path));
    if (!exists(home_)) return noTrash(object.path, errorFrom(ENOENT, "open", home_));
    const TrashOwner owner = trashOwnerFor(home_);
    const auto home = openHomeTrash(dataHome_, folder.device, owner, TrashUse::put);
    if (!home && home.error().code != ENXIO) return noTrash(object.path, home.error());
    if (home) {
        Put done = putInto(*home, parent, object, infoFor(*home, "", object));
        // One device number may stand for several mounts, between which nothing can be moved.
        if (!isOfAnotherVolume(done)) return done;
    }
    const std::string path = pathOf(parent);
    const auto volume = openVolumeTrash(path, folder.device, owner, TrashUse::put);
    if (!volume) return noTrash(object.path, volume.error());
    Put done = putInto(*volume, parent, object, infoFor(*volume, path, object));
    if (isOfAnotherVolume(done)) return noTrash(object.path, done.error().cause);
    return done;
}

std::expected<void, TrashError> Trash::canPut(const OpenFolder& parent) const {
    const std::string path = pathOf(parent);
    FileStatus folder;
    if (const int failure = parent.status(folder); failure != 0)
        return TrashFailure(trashFailure(failure, "examine", path));
    if (!exists(home_)) return noTrash(path, errorFrom(ENOENT, "open", home_));
    const TrashOwner owner = trashOwnerFor(home_);
    auto trash = openHomeTrash(dataHome_, folder.device, owner, TrashUse::rehearse);
    if (!trash && trash.error().code == ENXIO)
        trash = openVolumeTrash(path, folder.device, owner, TrashUse::rehearse);
    if (!trash) return noTrash(path, trash.error());
    return {};
}

std::expected<std::optional<std::string>, Error> Trash::find(const FileStatus& object,
                                                             const std::string& originalPath) const {
    const TrashOwner owner = trashOwnerFor(home_);
    auto home = openHomeTrash(dataHome_, object.device, owner, TrashUse::look);
    auto volume = openVolumeTrash(existingFolderOf(originalPath), object.device, owner, TrashUse::look);
    std::optional<Error> failed;
    for (auto* trash : {&home, &volume}) {
        // ENXIO: it is the Trash of another volume.
        if (!*trash && trash->error().code != ENXIO) failed = trash->error();
        if (!*trash || !(*trash)->files.isOpen()) continue;
        std::string name;
        const int failure = nameOfObject((*trash)->files, object, name);
        if (!name.empty()) return joined(joined((*trash)->path, "files"), name);
        if (failure != 0) failed = errorFrom(failure, "look through", joined((*trash)->path, "files"));
    }
    if (failed) return std::unexpected(*failed);
    return std::nullopt;
}

void Trash::removeAbandoned(const std::string& originalPath) const {
    const std::string folder = existingFolderOf(originalPath);
    FileStatus status;
    OpenFolder opened;
    if (opened.openPath(folder) != 0 || opened.status(status) != 0) return;
    const TrashOwner owner = trashOwnerFor(home_);
    auto home = openHomeTrash(dataHome_, status.device, owner, TrashUse::look);
    auto volume = openVolumeTrash(folder, status.device, owner, TrashUse::look);
    for (auto* trash : {&home, &volume}) {
        if (*trash && (*trash)->root.isOpen()) removeAbandonedFrom((*trash)->root);
    }
}

void forgetTrashRecord(const OpenFolder& files, const std::string& trashedPath) {
    if (lastComponent(folderOf(trashedPath)) != "files") return;
    const std::string name(lastComponent(trashedPath));
    OpenFolder root;
    OpenFolder info;
    if (root.openAt(files, "..") != 0) return;
    if (info.openAt(root, "info") == 0) ::unlinkat(info.descriptor(), infoName(name).c_str(), 0);
    forgetTrashSize(root, name);
}

}  // namespace brindle
