#include "core/removal/folder_contents.h"

#include <tbb/task_arena.h>
#include <tbb/task_group.h>

#include <atomic>
#include <cerrno>
#include <ranges>
#include <vector>

#include "core/measure/patient_open.h"
#include "core/platform/folder_removal.h"

namespace brindle {

namespace {

// Each level holds a descriptor for each worker.
constexpr int kLevelsTogether = 6;
constexpr std::size_t kLevelsOpen = 4;

bool isNotEmpty(int failure) {
    return failure == ENOTEMPTY || failure == EEXIST;
}

bool isForbidden(int failure) {
    return failure == EACCES || failure == EPERM;
}

// What is gone is what was wanted. A folder that its owner may not change is opened to him first.
template <typename Removal>
int removed(const OpenFolder& folder, Removal removal) {
    int failure = removal();
    if (isForbidden(failure) && grantOwnerAccess(folder) == 0) failure = removal();
    return failure == ENOENT ? 0 : failure;
}

int removeEmptied(const OpenFolder& parent, const char* name) {
    return removed(parent, [&] { return removeFolderAt(parent, name); });
}

}  // namespace

bool FolderContents::removeAll(OpenFolder& folder) {
    return removeBelow(folder, Place{}, 0);
}

bool FolderContents::removeBelow(OpenFolder& folder, const Place& place, int depth) {
    FolderNames names;
    std::atomic<bool> isClean = sweep(folder, place, names);
    const auto removeOne = [&](std::uint32_t index) {
        const char* name = names.at(index);
        const bool isGone = depth < kLevelsTogether ? removeSubfolder(folder, place, name, depth)
                                                    : removeAlone(folder, place, name);
        if (!isGone) isClean = false;
    };
    // Isolated: a worker that waits here for its helpers must not begin another subtree on top of this one.
    tbb::this_task_arena::isolate([&] {
        tbb::task_group group;
        for (std::uint32_t index = 1; index < names.count(); ++index)
            group.run([&, index] { removeOne(index); });
        if (names.count() > 0) removeOne(0);
        group.wait();
    });
    return isClean;
}

bool FolderContents::removeSubfolder(OpenFolder& folder, const Place& place, const char* name, int depth) {
    OpenFolder child;
    if (!open(child, folder, place, name)) return false;
    if (!child.isOpen()) return true;
    const Place below{&place, name};
    for (int pass = 1;; ++pass) {
        const bool isClean = removeBelow(child, below, depth + 1);
        const int failure = removeEmptied(folder, name);
        if (failure == 0) return true;
        if (isWorthAnotherPass(failure, isClean, pass) && listAgain(child) == 0) continue;
        noteEmptied(failure, isClean, place, name);
        return false;
    }
}

bool FolderContents::removeAlone(OpenFolder& folder, const Place& place, const char* name) {
    Descent descent{folder, place};
    enter(descent, name);
    while (!descent.levels.empty()) {
        Level& level = descent.levels.back();
        if (level.next < level.names.count()) {
            enter(descent, level.names.at(level.next++));
        } else {
            leave(descent);
        }
    }
    return descent.isClean;
}

void FolderContents::enter(Descent& descent, std::string name) {
    const bool isFirst = descent.levels.empty();
    OpenFolder& parent = isFirst ? descent.top : descent.levels.back().folder;
    const Place& above = isFirst ? descent.place : descent.levels.back().place;
    bool& isParentClean = isFirst ? descent.isClean : descent.levels.back().isClean;
    OpenFolder folder;
    if (!open(folder, parent, above, name.c_str())) isParentClean = false;
    if (!folder.isOpen()) return;

    Level& level = descent.levels.emplace_back();
    level.name = std::move(name);
    level.place = {&above, level.name};
    level.folder = std::move(folder);
    if (const int failure = level.folder.status(level.status); failure != 0) {
        note(failure, "examine", pathOf(above, level.name));
        isParentClean = false;
        descent.levels.pop_back();
        return;
    }
    level.isClean = sweep(level.folder, level.place, level.names);
    const std::size_t depth = descent.levels.size();
    if (depth > kLevelsOpen) descent.levels[depth - 1 - kLevelsOpen].folder.close();
}

// The folder that the lone worker is in is empty but for what could not be removed.
void FolderContents::leave(Descent& descent) {
    Level& level = descent.levels.back();
    const Place& above = *level.place.above;
    OpenFolder* parent = folderAbove(descent);
    if (parent == nullptr) {
        note(ESTALE, "return from", pathOf(above, level.name));
        descent.isClean = false;
        descent.levels.clear();
        return;
    }
    const int failure = removeEmptied(*parent, level.name.c_str());
    if (isWorthAnotherPass(failure, level.isClean, level.passes) && listAgain(level.folder) == 0) {
        level.passes += 1;
        level.next = 0;
        level.names = {};
        level.isClean = sweep(level.folder, level.place, level.names);
        return;
    }
    if (failure != 0) noteEmptied(failure, level.isClean, above, level.name);
    descent.levels.pop_back();
    if (failure != 0) (descent.levels.empty() ? descent.isClean : descent.levels.back().isClean) = false;
}

// Null when the folder that the worker is in was moved elsewhere.
OpenFolder* FolderContents::folderAbove(Descent& descent) {
    const std::size_t depth = descent.levels.size();
    if (depth == 1) return &descent.top;
    Level& above = descent.levels[depth - 2];
    if (above.folder.isOpen()) return &above.folder;
    FileStatus status;
    const OpenFolder& folder = descent.levels.back().folder;
    if (openPatiently([&] { return openParentOf(above.folder, folder); }) != 0) return nullptr;
    if (above.folder.status(status) != 0) return nullptr;
    const bool isIt = status.device == above.status.device && status.inode == above.status.inode;
    return isIt ? &above.folder : nullptr;
}

// False when what lies there has to stay. Not open afterwards: it is gone.
bool FolderContents::open(OpenFolder& child, OpenFolder& parent, const Place& place, const char* name) {
    int failure = openPatiently([&] { return openOnSameMount(child, parent, name); });
    // It was a folder when it was listed.
    if (failure == ELOOP || failure == ENOTDIR) {
        failure = removed(parent, [&] { return removeEntryAt(parent, name); });
    }
    if (failure == 0 || failure == ENOENT) return true;
    note(failure, failure == EXDEV ? "enter the mounted volume" : "open", pathOf(place, name));
    return false;
}

// Removes what is no folder and collects what is; false when something has to stay.
bool FolderContents::sweep(OpenFolder& folder, const Place& place, FolderNames& names) {
    thread_local EntryBlock block;
    bool isClean = true;
    for (bool isAtEnd = false; !isAtEnd;) {
        const int failure = folder.read(block, isAtEnd);
        if (failure == ENOENT) return isClean;
        if (failure != 0) {
            note(failure, "list", pathOf(place, ""));
            return false;
        }
        ListedEntry entry;
        while (block.next(entry)) isClean = removeEntry(folder, place, entry, names) && isClean;
    }
    return isClean;
}

bool FolderContents::removeEntry(OpenFolder& folder, const Place& place, const ListedEntry& entry,
                                 FolderNames& names) {
    FileStatus status;
    bool isFolder = entry.kind == ListedEntry::Kind::folder;
    if (entry.kind == ListedEntry::Kind::unknown) {
        isFolder = folder.statusAt(entry.name, status) == 0 && status.isFolder();
    }
    int failure = isFolder ? EISDIR : removed(folder, [&] { return removeEntryAt(folder, entry.name); });
    if (failure == 0) return true;
    if (!isFolder) isFolder = folder.statusAt(entry.name, status) == 0 && status.isFolder();
    if (isFolder) {
        names.add(entry.name);
        return true;
    }
    note(failure, "remove", pathOf(place, entry.name));
    return false;
}

bool FolderContents::isWorthAnotherPass(int failure, bool isClean, int pass) {
    return isNotEmpty(failure) && isClean && pass < kMostPasses;
}

// That a folder is not empty is news only when nothing in it failed.
void FolderContents::noteEmptied(int failure, bool isClean, const Place& place, std::string_view name) {
    if (isClean || !isNotEmpty(failure)) note(failure, "remove", pathOf(place, name));
}

void FolderContents::note(int code, std::string_view operation, const std::string& path) {
    const std::lock_guard guard(lock_);
    failures_ += 1;
    if (failures_ == 1 || path < first_.path) first_ = errorFrom(code, operation, path);
}

std::string FolderContents::pathOf(const Place& place, std::string_view name) const {
    std::vector<std::string_view> names;
    if (!name.empty()) names.push_back(name);
    for (const Place* step = &place; step->above != nullptr; step = step->above) names.push_back(step->name);
    std::string path = path_;
    for (const std::string_view step : std::views::reverse(names)) path.append("/").append(step);
    return path;
}

}  // namespace brindle
