#include "core/removal/cleaner.h"

#include <algorithm>
#include <optional>

#include "core/model/byte_sum.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/projects/project_cleanup.h"
#include "core/projects/project_detector.h"
#include "core/removal/cleanup_journal.h"
#include "core/removal/command_removal.h"
#include "core/removal/path_removal.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::vector<std::string> sortedPaths(const CleanupItem& item) {
    std::vector<std::string> paths = item.removal.affectedPaths();
    std::ranges::sort(paths);
    return paths;
}

std::optional<PathIdentity> seenAt(const CleanupItem& item, const std::string& path) {
    const auto seen = item.pathIdentities.find(path);
    return seen == item.pathIdentities.end() ? std::nullopt : std::optional(seen->second);
}

// uv must not lose its cache under its feet; it holds this lock while it works.
bool isUvCacheInUse(const std::string& path, const std::string& home) {
    const std::string cache = home + "/.cache/uv";
    if (!isAtOrBelow(path, cache)) return false;
    const auto isHeld = isFileLocked(cache + "/.lock");
    return isHeld ? *isHeld : isHeld.error().kind != Error::Kind::missing;
}

// What became of the paths of one item.
class PathTally {
  public:
    void add(PathOutcome outcome) {
        bytes_ = addBytes(bytes_, outcome.bytes);
        gone_ += outcome.isGone ? 1 : 0;
        replaced_ += outcome.wasReplaced ? 1 : 0;
        if (outcome.trashedAs) trashed_.push_back(*std::move(outcome.trashedAs));
        if (outcome.failure) failures_.push_back(*std::move(outcome.failure));
    }

    void addLocked(const std::string& path) {
        locked_ += 1;
        failures_.push_back(path + ": " + localized("Cache is currently in-use"));
    }

    // Something of an item that could not be removed whole may be gone; then what is gone counts.
    void tellIn(ReceiptEntry& entry) const {
        if (gone_ > 0 || bytes_ > 0) {
            entry.bytes = bytes_;
        } else {
            entry.method = RemovalMethod::failed;
        }
        if (!failures_.empty()) entry.pathFailures = failures_;
        entry.note = note();
        if (trashed_.empty()) return;
        entry.trashedObjects = trashed_;
        entry.trashedPaths.emplace();
        for (const TrashedThing& thing : trashed_) entry.trashedPaths->push_back(thing.to);
    }

  private:
    std::optional<std::string> note() const {
        const std::size_t failed = failures_.size();
        if (failed == 0) return std::nullopt;
        if (locked_ == failed) return localized("Cache is currently in-use");
        const std::size_t others = failed - replaced_;
        std::string note;
        if (replaced_ > 0)
            note = CoreStrings::plural("count.pathsFailed", static_cast<std::int64_t>(replaced_));
        if (replaced_ > 0 && others > 0) note += ", ";
        if (others > 0)
            note += CoreStrings::plural("count.pathsNotRemoved", static_cast<std::int64_t>(others));
        return note;
    }

    std::uint64_t bytes_ = 0;
    std::size_t gone_ = 0;
    std::size_t replaced_ = 0;
    std::size_t locked_ = 0;
    std::vector<std::string> failures_;
    std::vector<TrashedThing> trashed_;
};

// What would have happened; the bytes are those of the scan, as nothing went.
void rehearsed(ReceiptEntry& entry, const CleanupItem& item) {
    const std::string outcome = entry.note ? " (" + *entry.note + ")" : "";
    entry.bytes = item.bytes();
    entry.note = localized("dry run:") + " " + item.removal.description() + outcome;
}

}  // namespace

double CleanProgress::fraction() const {
    return total == 0 ? 0 : static_cast<double>(completed) / static_cast<double>(total);
}

Receipt Cleaner::clean(const CleanRequest& request) const {
    Receipt receipt{
        .id = request.id, .performedAt = request.startedAt, .entries = {}, .wasDryRun = request.isDryRun};
    for (const CleanupItem& item : request.items) {
        if (request.isCancelled()) break;
        request.onItem(item);
        auto entry = handled(item, request);
        if (!entry) break;
        receipt.entries.push_back(*std::move(entry));
        const bool isRecorded = request.onEntry(receipt.entries.back());
        request.onProgress({.completed = receipt.entries.size(),
                            .total = request.items.size(),
                            .currentTitle = item.title(),
                            .bytesFreedSoFar = receipt.bytesFreed()});
        if (!isRecorded) break;
    }
    return receipt;
}

// Absent when a cancellation cut off the look at the item, before anything was done.
std::optional<ReceiptEntry> Cleaner::handled(const CleanupItem& item, const CleanRequest& request) const {
    ReceiptEntry entry = plannedItem(item).entry;
    entry.method = RemovalMethod::refused;
    if (item.moduleID == ModuleID::projects && !isStillOffered(item, request)) {
        if (request.isCancelled()) return std::nullopt;
        entry.note = localized("The project changed since the scan. Scan and review it again.");
        return entry;
    }
    if (const SafetyVerdict verdict = request.safety.verdictForItem(item); !verdict.isAllowed()) {
        entry.note = verdict.reason();
        return entry;
    }
    const LastWord word = request.lastWord(item);
    if (word.refusal) {
        if (request.isCancelled()) return std::nullopt;
        entry.note = *word.refusal;
        return entry;
    }
    if (!item.removal.isCommand()) {
        entry = removePaths(item, request);
        if (!entry.note) entry.note = word.note;
        return entry;
    }
    entry = CommandRemoval(means_.tools, request.safety).run(item, request.isDryRun, request.isCancelled);
    if (entry.method == RemovalMethod::refused && request.isCancelled()) return std::nullopt;
    return entry;
}

// The guard takes a project's folders for generated on the word of the scan: so the word is asked for again, Git's too.
bool Cleaner::isStillOffered(const CleanupItem& item, const CleanRequest& request) const {
    if (!item.projectPath) return false;
    HardlinkTracker hardlinks;
    const TimePoint now = std::chrono::system_clock::now();
    const auto project = ProjectDetector(means_.tools)
                             .inspect(*item.projectPath, {.home = means_.home,
                                                          .roots = {},
                                                          .now = now,
                                                          .artifactHardlinks = &hardlinks,
                                                          .isCancelled = request.isCancelled});
    if (!project) return false;
    const std::vector<CleanupItem> offered = dormantProjectItems({*project}, means_.home, now);
    return std::ranges::any_of(offered, [&](const CleanupItem& fresh) {
        const bool isAsSafe =
            fresh.classification == Classification::safe || item.classification != Classification::safe;
        return fresh.id == item.id && isAsSafe && sortedPaths(fresh) == sortedPaths(item);
    });
}

ReceiptEntry Cleaner::removePaths(const CleanupItem& item, const CleanRequest& request) const {
    const RemovalRoute route =
        item.classification == Classification::safe ? RemovalRoute::deletion : RemovalRoute::trash;
    const PathRemoval removal(request.safety, means_.trash);
    PathTally tally;
    for (const std::string& path : item.removal.affectedPaths()) {
        if (isUvCacheInUse(path, means_.home)) {
            tally.addLocked(path);
            continue;
        }
        tally.add(removal.remove(
            {.path = path, .approved = seenAt(item, path), .route = route, .isRehearsal = request.isDryRun}));
    }
    ReceiptEntry entry = plannedItem(item).entry;
    tally.tellIn(entry);
    if (request.isDryRun) rehearsed(entry, item);
    return entry;
}

}  // namespace brindle
