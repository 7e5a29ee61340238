#include "core/insight/duplicate_trash.h"

#include <algorithm>
#include <utility>

#include "core/insight/duplicate_scanner.h"
#include "core/insight/duplicate_tables.h"
#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::string mustRemain() {
    return localized(
        "A verified unchanged copy must remain; only developer export archives can be moved to Trash.");
}

CleanupItem itemOf(const DuplicateFile& file) {
    CleanupItemFields fields;
    fields.id = std::string(rawText(ModuleID::tools)) + ".duplicate." + file.path;
    fields.moduleID = ModuleID::tools;
    fields.title = localized("Move to Trash: %@", file.path);
    fields.detail = file.path;
    fields.measurement.allocatedBytes = file.storedBytes();
    fields.classification = Classification::review;
    fields.explanation.regeneratedBy =
        Regeneration{Regeneration::Kind::action, "Restore from Trash or copy the retained archive"};
    fields.removal = {DeletePaths{{file.path}}};
    CleanupItem item(std::move(fields));
    item.pathIdentities = {{file.path, file.identity}};  // of when it was compared, not of now
    return item;
}

// A time of modification can be set back; this cannot.
std::optional<std::int64_t> changeOf(const DuplicateFile& file) {
    const auto status = statusOf(file.path);
    return status ? std::optional(status->changedNanoseconds) : std::nullopt;
}

// Its folder may have been moved, into the Trash even, and a link left in its place.
bool isWhereItWas(const DuplicateFile& file) {
    return canonicalPath(file.path) == file.path;
}

}  // namespace

std::expected<DuplicateTrash, std::string> DuplicateTrash::plan(const DuplicateReport& report,
                                                                const std::set<std::string>& selection,
                                                                const KeptCopies& keeping) {
    DuplicateTrash trash;
    for (const DuplicateGroup& group : report.groups) {
        Content content{.hash = group.hash, .kept = {}};
        bool isTouched = false;
        for (const DuplicateFile& file : group.files) {
            if (!selection.contains(file.path)) {
                if (!keeping.fleeting.contains(file.path)) content.kept.push_back(file);
                continue;
            }
            isTouched = true;
            if (!file.isDeveloperExport()) return std::unexpected(mustRemain());
            trash.items_.push_back(itemOf(file));
            trash.copies_.insert({trash.items_.back().id, {file, trash.contents_.size()}});
        }
        if (isTouched && content.kept.empty()) return std::unexpected(mustRemain());
        std::ranges::stable_partition(
            content.kept, [&](const DuplicateFile& each) { return keeping.preferred.contains(each.path); });
        trash.contents_.push_back(std::move(content));
    }
    if (trash.items_.size() != selection.size()) return std::unexpected(mustRemain());
    return trash;
}

LastWord DuplicateTrash::lastWord(const CleanupItem& item, const std::string& home,
                                  const CancellationTest& isCancelled) const {
    const auto found = copies_.find(item.id);
    if (found == copies_.end()) return {.refusal = mustRemain(), .note = {}};
    const auto& [file, group] = found->second;
    const Content& content = contents_[group];
    const auto changed = [] {
        return LastWord{.refusal = localized("The file changed since the scan. Scan and review it again."),
                        .note = {}};
    };
    if (hasExcludedAncestor(file.path, home) || isInProject(folderOf(file.path), home) ||
        !DuplicateScanner::isUnchanged(file))
        return changed();
    std::optional<std::int64_t> keptSince;
    const auto kept = std::ranges::find_if(content.kept, [&](const DuplicateFile& each) {
        keptSince = changeOf(each);
        return each.identity.inode != file.identity.inode && isWhereItWas(each) &&
               DuplicateScanner::hash(each, isCancelled) == content.hash;
    });
    if (kept == content.kept.end()) return {.refusal = mustRemain(), .note = {}};
    const auto movedSince = changeOf(file);
    if (DuplicateScanner::hash(file, isCancelled) != content.hash) return changed();
    if (!DuplicateScanner::isClosed(file))
        return {.refusal = localized("A program has the file open, or that could not be told."), .note = {}};
    // Reading takes long: both as they were, at the end of it.
    if (!DuplicateScanner::isUnchanged(file) || changeOf(file) != movedSince) return changed();
    if (!DuplicateScanner::isClosed(*kept) || !DuplicateScanner::isUnchanged(*kept) ||
        changeOf(*kept) != keptSince || !isWhereItWas(*kept))
        return {.refusal = mustRemain(), .note = {}};
    return {.refusal = {}, .note = localized("Kept identical copy: %@", kept->path)};
}

}  // namespace brindle
