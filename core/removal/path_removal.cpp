#include "core/removal/path_removal.h"

#include <algorithm>

#include "core/measure/directory_sizer.h"
#include "core/platform/folder_removal.h"
#include "core/platform/path_text.h"
#include "core/removal/tree_remover.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

PathOutcome failed(const std::string& path, const std::string& sentence) {
    return {.failure = path + ": " + sentence};
}

PathOutcome replaced(const std::string& path) {
    return {.wasReplaced = true, .failure = localized("%@: replaced or missing since scan", path)};
}

// What is left of an object that could not be removed whole; all of it when that cannot be told.
std::uint64_t bytesLeft(const std::string& path, std::uint64_t before) {
    HardlinkTracker hardlinks;
    const DirectoryMeasurement left = DirectorySizer().measureConcurrently(path, {.hardlinks = &hardlinks});
    return left.isComplete() ? std::min(left.allocatedBytes, before) : before;
}

// The first of the failures, and how many more there were.
std::string sentenceOn(const RemovalOutcome& outcome) {
    std::string first = outcome.first.describe();
    if (outcome.failures <= 1) return first;
    const auto others = static_cast<std::int64_t>(outcome.failures - 1);
    return first + " (" + CoreStrings::plural("count.moreFailures", others) + ")";
}

}  // namespace

PathOutcome PathRemoval::remove(const PathToRemove& wanted) const {
    const std::string& path = wanted.path;
    if (!wanted.approved || PathIdentity::read(path) != wanted.approved) return replaced(path);
    if (const auto verdict = guard_.verdictForDeleting(path); !verdict.isAllowed()) {
        return failed(path, *verdict.reason());
    }
    const std::string standard = standardisedPath(path);
    OpenFolder parent;
    if (const int failure = parent.openWithoutLinks(folderOf(standard)); failure != 0) {
        return failed(path, errorFrom(failure, "open", folderOf(standard)).describe());
    }
    if (const int failure = mayChange(parent); failure != 0) {
        return failed(path, errorFrom(failure, "change", folderOf(standard)).describe());
    }
    const JudgedTree judged = guard_.judgedTree(standard);
    if (!judged.verdict.isAllowed()) return failed(path, *judged.verdict.reason());
    // What was judged must be what was seen, and what will be taken.
    if (judged.object != wanted.approved) return replaced(path);
    return removeJudged(wanted, parent, judged.measurement.allocatedBytes);
}

PathOutcome PathRemoval::removeJudged(const PathToRemove& wanted, const OpenFolder& parent,
                                      std::uint64_t bytes) const {
    const bool isTrashed = wanted.route == RemovalRoute::trash;
    if (!wanted.isRehearsal) {
        return isTrashed ? trashObject(wanted, parent, bytes) : deleteObject(wanted, parent, bytes);
    }
    if (isTrashed) {
        if (auto possible = trash_.canPut(parent); !possible) {
            return failed(wanted.path, possible.error().describe());
        }
    }
    return {.bytes = bytes, .isGone = true};
}

PathOutcome PathRemoval::deleteObject(const PathToRemove& wanted, const OpenFolder& parent,
                                      std::uint64_t bytes) const {
    const std::string standard = standardisedPath(wanted.path);
    const RemovalOutcome outcome =
        TreeRemover().remove(parent, std::string(lastComponent(standard)), *wanted.approved, standard);
    switch (outcome.end) {
        case RemovalOutcome::End::removed:
            return {.bytes = bytes, .isGone = true};
        case RemovalOutcome::End::replaced:
            return replaced(wanted.path);
        case RemovalOutcome::End::partly:
            break;
    }
    PathOutcome partly = failed(wanted.path, sentenceOn(outcome));
    partly.bytes = bytes - bytesLeft(standard, bytes);
    return partly;
}

PathOutcome PathRemoval::trashObject(const PathToRemove& wanted, const OpenFolder& parent,
                                     std::uint64_t bytes) const {
    const std::string standard = standardisedPath(wanted.path);
    const FileStatus approved = {
        .device = wanted.approved->device, .inode = wanted.approved->inode, .mode = wanted.approved->mode};
    auto trashed = trash_.put(parent, {.name = std::string(lastComponent(standard)),
                                       .path = standard,
                                       .approved = approved,
                                       .size = bytes});
    if (trashed) {
        const TrashedThing thing{.from = standard,
                                 .to = trashed->path,
                                 .device = approved.device,
                                 .inode = approved.inode,
                                 .mode = approved.mode};
        return {.bytes = bytes, .isGone = true, .trashedAs = thing};
    }
    const TrashError& error = trashed.error();
    const bool wasReplaced =
        error.kind == TrashError::Kind::missing || error.kind == TrashError::Kind::replaced;
    if (wasReplaced && error.liesAt.empty()) return replaced(wanted.path);
    return failed(wanted.path, error.describe());
}

}  // namespace brindle
