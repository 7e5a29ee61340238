#include "core/removal/interrupted_cleanup.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "core/model/byte_sum.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// What became of the paths of one item.
struct Remains {
    std::uint64_t bytesLeft = 0;
    bool isMeasured = true;  // bytesLeft is all that is left
    std::size_t gone = 0;    // neither where it was nor in the Trash
    std::vector<TrashedThing> inTrash;
    std::vector<std::string> untouched;  // paths whose object is where it was
    std::vector<std::string> failures;   // sentences about paths that did not go as planned
};

// After a restart a device may have another number, and a removal makes the folders it empties writable: what stays
// is the inode at this path, and its type.
bool isSameObject(const PathIdentity& before, const std::optional<PathIdentity>& now) {
    constexpr unsigned kType = 0170000;
    return now && now->inode == before.inode && (now->mode & kType) == (before.mode & kType);
}

void noteUnknown(const std::string& path, Remains& remains) {
    remains.isMeasured = false;
    remains.failures.push_back(
        localized("%@: may be gone; it could not be looked up after the cleanup was interrupted", path));
}

void lookAt(const std::string& path, const PlannedItem& item, const RemovalProbe& probe, Remains& remains) {
    const auto before = item.identities.find(path);
    if (before == item.identities.end()) {
        remains.failures.push_back(localized("%@: replaced or missing since scan", path));
        return;
    }
    const auto now = probe.identityAt(path);
    if (!now) return noteUnknown(path, remains);
    if (isSameObject(before->second, *now)) {
        const auto left = probe.bytesBelow(path);
        remains.bytesLeft = addApparentBytes(remains.bytesLeft, left.value_or(0));
        remains.isMeasured = remains.isMeasured && left.has_value();
        remains.untouched.push_back(path);
        return;
    }
    // Another thing may have got the number of one that was deleted: only what was meant for the Trash is looked for.
    if (item.entry.method == RemovalMethod::trashed) {
        auto place = probe.placeInTrash(path, before->second);
        if (!place) return noteUnknown(path, remains);
        if (*place) {
            const PathIdentity& was = before->second;
            remains.inTrash.push_back({.from = path,
                                       .to = **std::move(place),
                                       .device = was.device,
                                       .inode = was.inode,
                                       .mode = was.mode});
            return;
        }
    }
    ++remains.gone;
    if (*now) {
        remains.failures.push_back(localized("%@: something else lies there now", path));
    } else if (item.entry.method == RemovalMethod::trashed) {
        remains.failures.push_back(localized("%@: gone, and not found in the Trash", path));
    }
}

Remains remainsOf(const PlannedItem& item, const RemovalProbe& probe) {
    Remains remains;
    for (const std::string& path : item.entry.paths) lookAt(path, item, probe, remains);
    return remains;
}

// Only what is sure to be gone: while something left could not be measured, all of it may be.
std::uint64_t bytesGone(const Remains& remains, std::uint64_t scanned) {
    if (!remains.isMeasured) return 0;
    return scanned - std::min(scanned, remains.bytesLeft);
}

// A move to the Trash is whole or has not happened; a removal stops anywhere. With several paths it is not known from
// which of them something is missing.
std::string_view sentenceOfWhatStayed(const PlannedItem& item, const Remains& remains) {
    if (item.entry.method == RemovalMethod::trashed)
        return "%@: still there when the cleanup was interrupted";
    const bool isAlone = item.entry.paths.size() == 1;
    if (remains.isMeasured && bytesGone(remains, item.entry.bytes) == 0) {
        return "%@: still there when the cleanup was interrupted";
    }
    return isAlone && remains.isMeasured
               ? "%@: partly removed when the cleanup was interrupted"
               : "%@: still there when the cleanup was interrupted; part of it may be gone";
}

RemovalMethod methodOf(const PlannedItem& item, const Remains& remains) {
    if (!remains.inTrash.empty()) return RemovalMethod::trashed;
    // What was to go to the Trash was never deleted: it may lie in a Trash that was not looked into.
    if (item.entry.method == RemovalMethod::trashed) return RemovalMethod::failed;
    const bool isPartlyGone = !remains.untouched.empty() && bytesGone(remains, item.entry.bytes) > 0;
    return remains.gone > 0 || isPartlyGone ? RemovalMethod::deleted : RemovalMethod::failed;
}

ReceiptEntry failedEntry(const PlannedItem& item, std::string note) {
    ReceiptEntry entry = item.entry;
    entry.method = RemovalMethod::failed;
    entry.note = std::move(note);
    return entry;
}

ReceiptEntry entryOfPaths(const PlannedItem& item, const RemovalProbe& probe) {
    Remains remains = remainsOf(item, probe);
    ReceiptEntry entry =
        failedEntry(item, localized("The cleanup was interrupted while this item was being removed."));
    entry.method = methodOf(item, remains);
    if (entry.isFreeing()) entry.bytes = bytesGone(remains, item.entry.bytes);
    const std::string_view stayed = sentenceOfWhatStayed(item, remains);
    for (const std::string& path : remains.untouched) remains.failures.push_back(localized(stayed, path));
    if (!remains.failures.empty()) entry.pathFailures = std::move(remains.failures);
    if (remains.inTrash.empty()) return entry;
    entry.trashedPaths.emplace();
    for (const TrashedThing& thing : remains.inTrash) entry.trashedPaths->push_back(thing.to);
    entry.trashedObjects = std::move(remains.inTrash);
    return entry;
}

ReceiptEntry entryUnderWay(const PlannedItem& item, const RemovalProbe& probe) {
    if (item.entry.method != RemovalMethod::command) return entryOfPaths(item, probe);
    return failedEntry(
        item,
        localized(
            "The cleanup was interrupted while this command was running. It may have removed something."));
}

}  // namespace

Receipt receiptOfInterrupted(const CleanupIntent& intent, const std::vector<ReceiptEntry>& finished,
                             const RemovalProbe& probe) {
    Receipt receipt{
        .id = intent.id, .performedAt = intent.performedAt, .entries = finished, .wasDryRun = false};
    for (std::size_t index = finished.size(); index < intent.items.size(); ++index) {
        const PlannedItem& item = intent.items[index];
        receipt.entries.push_back(
            index == finished.size()
                ? entryUnderWay(item, probe)
                : failedEntry(item, localized("The cleanup was interrupted before this item.")));
    }
    return receipt;
}

std::expected<std::optional<Receipt>, Error> recoverInterrupted(HistoryStore& history,
                                                                const std::string& directory,
                                                                const RemovalProbe& probe) {
    const auto journal = readJournal(directory);
    if (!journal) return std::unexpected(journal.error());
    if (!*journal) return std::nullopt;
    std::optional<Receipt> added;
    if (const auto& intent = (*journal)->intent) {
        const auto stored = history.loadChecked();
        if (!stored) return std::unexpected(stored.error().cause);
        const auto found = std::ranges::find(*stored, intent->id, &Receipt::id);
        if (found == stored->end()) added = receiptOfInterrupted(*intent, (*journal)->finished, probe);
        // Stored or not: what the history has may not be on the disk yet, and append() sees to that.
        auto kept = history.appendChecked(added ? *added : *found);
        if (!kept) return std::unexpected(kept.error());
    }
    if (auto gone = removeJournal(directory); !gone) return std::unexpected(gone.error());
    return added;
}

}  // namespace brindle
