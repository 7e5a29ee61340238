#include "core/platform/trash.h"

#import <Foundation/Foundation.h>

#include <fcntl.h>
#include <sys/param.h>

#include <cerrno>

#include "core/platform/path_text.h"
#include "core/platform/posix/trash_parts.h"
#include "core/platform/rename.h"

namespace brindle {

namespace {

using Kind = TrashError::Kind;

std::string pathOf(const OpenFolder& folder) {
    char path[MAXPATHLEN] = {};
    return ::fcntl(folder.descriptor(), F_GETPATH, path) == 0 ? path : "";
}

NSURL* urlOf(const std::string& path, bool isFolder) {
    return [NSURL fileURLWithFileSystemRepresentation:path.c_str() isDirectory:isFolder relativeToURL:nil];
}

// The system's reason, where its error carries an errno.
int codeOf(NSError* error) {
    for (NSError* cause = error; cause != nil; cause = cause.userInfo[NSUnderlyingErrorKey]) {
        if ([cause.domain isEqualToString:NSPOSIXErrorDomain]) return static_cast<int>(cause.code);
    }
    return [error.domain isEqualToString:NSCocoaErrorDomain] && error.code == NSFeatureUnsupportedError
               ? ENOTSUP
               : EIO;
}

// The call goes by path, so another object may have been taken: then back with it, never over anything.
TrashError movedBack(const OpenFolder& parent, const ObjectToTrash& object, const std::string& now) {
    OpenFolder trash;
    const bool isBack =
        trash.openWithoutLinks(folderOf(now)) == 0 &&
        renameWithoutReplacing(trash, std::string(lastComponent(now)), parent, object.name) == 0;
    return {.kind = Kind::replaced, .path = object.path, .liesAt = isBack ? "" : now};
}

}  // namespace

Trash::Trash(const std::string& home, const std::string& dataHome)
    : home_(standardisedPath(home)), dataHome_(dataHome) {}

std::string Trash::homeFolder() const {
    return home_ + "/.Trash";
}

std::expected<TrashedObject, TrashError> Trash::put(const OpenFolder& parent,
                                                    const ObjectToTrash& object) const {
    FileStatus status;
    const int failure = parent.statusAt(object.name.c_str(), status);
    if (failure == ENOENT) return TrashFailure({.kind = Kind::missing, .path = object.path});
    if (failure != 0) return TrashFailure(trashFailure(failure, "examine", object.path));
    if (!isSameObject(status, object.approved))
        return TrashFailure({.kind = Kind::replaced, .path = object.path});
    const std::string folder = pathOf(parent);
    if (folder.empty()) return TrashFailure(trashFailure(ENOENT, "find the folder of", object.path));
    @autoreleasepool {
        NSURL* result = nil;
        NSError* error = nil;
        NSURL* url = urlOf(joined(folder, object.name), status.isFolder());
        if (![[NSFileManager defaultManager] trashItemAtURL:url resultingItemURL:&result error:&error]) {
            const Error cause = errorFrom(codeOf(error), "move to the Trash", object.path);
            const bool isUnsupported = cause.code == ENOTSUP;
            return TrashFailure(
                {.kind = isUnsupported ? Kind::noTrash : Kind::failed, .path = object.path, .cause = cause});
        }
        const std::string now = result.fileSystemRepresentation;
        const auto arrived = statusOf(now);
        if (!arrived || !isSameObject(*arrived, object.approved))
            return TrashFailure(movedBack(parent, object, now));
        return TrashedObject{now};
    }
}

std::expected<void, TrashError> Trash::canPut(const OpenFolder& parent) const {
    const std::string path = pathOf(parent);
    @autoreleasepool {
        NSError* error = nil;
        NSURL* trash = [[NSFileManager defaultManager] URLForDirectory:NSTrashDirectory
                                                              inDomain:NSUserDomainMask
                                                     appropriateForURL:urlOf(path, true)
                                                                create:NO
                                                                 error:&error];
        if (trash != nil) return {};
        return TrashFailure({.kind = Kind::noTrash,
                             .path = path,
                             .cause = errorFrom(codeOf(error), "find the Trash for", path)});
    }
}

// Only the home's own: listing it needs Full Disk Access.
std::expected<std::optional<std::string>, Error> Trash::find(const FileStatus& object,
                                                             const std::string&) const {
    const std::string path = joined(home_, ".Trash");
    OpenFolder files;
    int failure = files.openPath(path);
    if (failure == ENOENT) return std::nullopt;
    std::string name;
    if (failure == 0) failure = nameOfObject(files, object, name);
    if (failure != 0) return std::unexpected(errorFrom(failure, "look through", path));
    return name.empty() ? std::nullopt : std::optional(joined(path, name));
}

// The system writes them, and takes care of its own.
void Trash::removeAbandoned(const std::string&) const {}

// The Finder keeps its own notes, and they go with the object.
void forgetTrashRecord(const OpenFolder&, const std::string&) {}

}  // namespace brindle
