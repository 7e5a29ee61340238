#include "core/platform/linux/trash_folder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "core/platform/files.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/platform/posix/trash_parts.h"
#include "core/platform/volume.h"

namespace brindle {

namespace {

using Opened = std::expected<TrashFolder, Error>;

constexpr mode_t kModeOfTrash = 0700;

Opened failed(int code, std::string_view operation, const std::string& path) {
    return std::unexpected(errorFrom(code, operation, path));
}

int writingFailure(const OpenFolder& folder) {
    return ::faccessat(folder.descriptor(), ".", W_OK | X_OK, AT_EACCESS) == 0 ? 0 : errno;
}

int ownerFailure(const OpenFolder& folder, TrashOwner owner) {
    struct stat status{};
    if (::fstat(folder.descriptor(), &status) != 0) return errno;
    return status.st_uid == owner.user ? 0 : EPERM;
}

// 0 with the part open, or closed when it is missing and need not be made now.
int openPart(OpenFolder& part, const OpenFolder& above, const std::string& name, TrashOwner owner,
             TrashUse use) {
    int failure = part.openAt(above, name.c_str());
    if (failure == ENOENT && use == TrashUse::look) return 0;
    if (failure == ENOENT && use == TrashUse::rehearse) return writingFailure(above);
    if (failure == ENOENT) {
        if (::mkdirat(above.descriptor(), name.c_str(), kModeOfTrash) != 0 && errno != EEXIST) return errno;
        failure = part.openAt(above, name.c_str());
        // A file system without owners refuses, and says below whom everything belongs to.
        if (failure == 0 && ::geteuid() == 0) (void)!::fchown(part.descriptor(), owner.user, owner.group);
    }
    return failure != 0 ? failure : ownerFailure(part, owner);
}

Opened openTrash(const OpenFolder& above, const std::string& path, TrashOwner owner, TrashUse use) {
    TrashFolder trash;
    trash.path = path;
    const std::string name(lastComponent(path));
    if (const int failure = openPart(trash.root, above, name, owner, use); failure != 0)
        return failed(failure, "open", path);
    if (!trash.root.isOpen()) return trash;
    for (const auto& [part, partName] : {std::pair{&trash.files, "files"}, std::pair{&trash.info, "info"}}) {
        int failure = openPart(*part, trash.root, partName, owner, use);
        if (failure == 0 && use == TrashUse::rehearse && part->isOpen()) failure = writingFailure(*part);
        if (failure != 0) return failed(failure, "open", joined(path, partName));
    }
    return trash;
}

// As much of the path as there is, links resolved: a data folder elsewhere is the user's own choice.
std::expected<std::string, Error> existingPart(const std::string& path, std::string& missing) {
    std::string existing = path;
    auto real = canonicalPath(existing);
    while (!real && real.error().kind == Error::Kind::missing && existing != "/") {
        missing = joined(std::string(lastComponent(existing)), missing);
        existing = folderOf(existing);
        real = canonicalPath(existing);
    }
    return real;
}

Opened openSharedTrash(const OpenFolder& top, const std::string& topPath, TrashOwner owner, TrashUse use) {
    const std::string path = joined(topPath, ".Trash");
    OpenFolder shared;
    FileStatus status;
    int failure = shared.openAt(top, ".Trash");
    if (failure == 0) failure = shared.status(status);
    // Without the sticky bit anybody could put something else in the place of our folder.
    if (failure == 0 && (status.mode & S_ISVTX) == 0) failure = EPERM;
    if (failure != 0) return failed(failure, "use", path);
    return openTrash(shared, joined(path, fmt::format("{}", owner.user)), owner, use);
}

}  // namespace

TrashOwner trashOwnerFor(const std::string& home) {
    struct stat status{};
    if (::geteuid() == 0 && ::stat(home.c_str(), &status) == 0) return {status.st_uid, status.st_gid};
    return {::geteuid(), ::getegid()};
}

Opened openHomeTrash(const std::string& dataHome, std::int32_t device, TrashOwner owner, TrashUse use) {
    std::string missing;
    const auto existing = existingPart(dataHome, missing);
    if (!existing) return std::unexpected(existing.error());
    OpenFolder start;
    FileStatus status;
    int failure = start.openWithoutLinks(*existing);
    if (failure == 0) failure = start.status(status);
    if (failure == 0 && status.device != device) failure = ENXIO;
    if (failure == 0) failure = ownerFailure(start, owner);
    if (failure != 0) return failed(failure, "use the Trash in", *existing);
    const std::string path = standardisedPath(joined(*existing, missing));
    if (use != TrashUse::put && !missing.empty()) {
        // A link that leads nowhere is in the way of what would have to be made.
        const std::string first(pathComponents(missing).front());
        if (start.statusAt(first.c_str(), status) != ENOENT)
            failure = ENOTDIR;
        else if (use == TrashUse::rehearse)
            failure = writingFailure(start);
        if (failure != 0) return failed(failure, "create", path);
        return TrashFolder{.path = joined(path, "Trash")};
    }
    OpenFolder data;
    failure = data.openBelow(start, missing, kModeOfTrash);
    if (failure == 0) failure = ownerFailure(data, owner);
    if (failure != 0) return failed(failure, "open", path);
    return openTrash(data, joined(path, "Trash"), owner, use);
}

Opened openVolumeTrash(const std::string& path, std::int32_t device, TrashOwner owner, TrashUse use) {
    const auto table = readFile("/proc/self/mountinfo");
    if (!table) return std::unexpected(table.error());
    const auto topPath = mountPointHolding(path, *table);
    if (!topPath) return failed(ENXIO, "find the volume of", path);
    OpenFolder top;
    FileStatus status;
    int failure = top.openWithoutLinks(*topPath);
    if (failure == 0) failure = top.status(status);
    if (failure == 0 && status.device != device) failure = ENXIO;
    if (failure != 0) return failed(failure, "use the Trash of", *topPath);
    Opened trash = openSharedTrash(top, *topPath, owner, use);
    if (!trash || (use == TrashUse::look && !trash->files.isOpen()))
        trash = openTrash(top, joined(*topPath, fmt::format(".Trash-{}", owner.user)), owner, use);
    if (trash) trash->topFolder = *topPath;
    return trash;
}

}  // namespace brindle
