// One cleanup, from the lock to the history.
#include <chrono>
#include <thread>
#include <utility>

#include "core/measure/directory_sizer.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/removal/cleanup_journal.h"
#include "core/removal/interrupted_cleanup.h"
#include "core/removal/tree_remover.h"
#include "core/session/session.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

std::unexpected<CleanRefusal> refusal(CleanRefusal::Kind kind, std::string sentence) {
    return std::unexpected(CleanRefusal{kind, std::move(sentence)});
}

std::unexpected<CleanRefusal> unreadableHistory() {
    return refusal(CleanRefusal::Kind::historyUnreadable,
                   localized("History cannot be read; cleanup has not started."));
}

std::unexpected<CleanRefusal> notRecordable(const Error& error) {
    return refusal(CleanRefusal::Kind::notRecordable,
                   localized("The cleanup cannot be recorded, so it has not started: %@.", error.describe()));
}

// What a cleanup that was cut short has left on the disk.
class DiskProbe : public RemovalProbe {
  public:
    explicit DiskProbe(Trash trash) : trash_(std::move(trash)) {}

    std::expected<std::optional<PathIdentity>, Error> identityAt(const std::string& path) const override {
        const auto status = statusOf(path);
        if (status) return PathIdentity{status->device, status->inode, status->mode};
        if (status.error().kind == Error::Kind::missing) return std::nullopt;
        return std::unexpected(status.error());
    }

    std::optional<std::uint64_t> bytesBelow(const std::string& path) const override {
        HardlinkTracker hardlinks;
        const auto left = DirectorySizer().measureConcurrently(path, {.hardlinks = &hardlinks});
        return left.isComplete() ? std::optional(left.allocatedBytes) : std::nullopt;
    }

    std::expected<std::optional<std::string>, Error> placeInTrash(
        const std::string& path, const PathIdentity& identity) const override {
        return trash_.find({.device = identity.device, .inode = identity.inode, .mode = identity.mode}, path);
    }

  private:
    Trash trash_;
};

// The caller holds the lock.
std::expected<std::optional<Receipt>, Error> recordWhatWasLeft(HistoryStore history, const Trash& trash) {
    const auto journal = readJournal(history.directory());
    if (!journal) return std::unexpected(journal.error());
    removeAbandonedFiles(history.directory());
    if (*journal && (*journal)->intent) {
        for (const PlannedItem& item : (*journal)->intent->items) {
            for (const auto& [path, identity] : item.identities) {
                bringBackSetAside(path, identity);
                if (item.entry.method == RemovalMethod::trashed) trash.removeAbandoned(path);
            }
        }
    }
    return recoverInterrupted(history, history.directory(), DiskProbe(trash));
}

CleanupIntent intentOf(const CleanRequest& request) {
    CleanupIntent intent{.id = request.id, .performedAt = request.startedAt, .items = {}};
    for (const CleanupItem& item : request.items) intent.items.push_back(plannedItem(item));
    return intent;
}

std::optional<VolumeCapacity> capacityOf(const std::string& home) {
    auto capacity = volumeCapacity(home);
    return capacity ? std::optional(*std::move(capacity)) : std::nullopt;
}

}  // namespace

Trash Session::trash() const {
    return Trash(home_.path, variable("XDG_DATA_HOME"));
}

// A child that a killed process was just about to start may hold the lock for a moment longer.
std::expected<FileLock, CleanRefusal> Session::cleanupLock() const {
    constexpr int kTries = 10;
    constexpr auto kPause = std::chrono::milliseconds(30);
    const std::string path = history().directory() + "/cleanup.lock";
    auto lock = FileLock::tryAcquire(path);
    for (int tries = 1; !lock && lock.error().kind == Error::Kind::busy && tries < kTries; ++tries) {
        std::this_thread::sleep_for(kPause);
        lock = FileLock::tryAcquire(path);
    }
    if (lock) return *std::move(lock);
    if (lock.error().kind != Error::Kind::busy) return notRecordable(lock.error());
    return refusal(CleanRefusal::Kind::busy, localized("Another cleanup is running."));
}

std::expected<std::optional<Receipt>, CleanRefusal> Session::recordInterrupted() const {
    const auto journal = statusOf(journalPath(history().directory()));
    if (!journal && journal.error().kind == Error::Kind::missing) return std::nullopt;
    const auto lock = cleanupLock();
    if (!lock && lock.error().kind == CleanRefusal::Kind::busy) return std::nullopt;
    if (!lock) return std::unexpected(lock.error());
    auto recorded = recordWhatWasLeft(history(), trash());
    if (recorded) return *std::move(recorded);
    return refusal(
        CleanRefusal::Kind::historyUnreadable,
        localized("An interrupted cleanup could not be recorded: %@.", recorded.error().describe()));
}

std::expected<CleanOutcome, CleanRefusal> Session::clean(const CleanOrder& order) const {
    const auto lock = cleanupLock();
    if (!lock) return std::unexpected(lock.error());
    if (!recordWhatWasLeft(history(), trash()) || !history().loadChecked()) return unreadableHistory();
    const auto guard = safetyGuard(order.report);
    if (!guard) return refusal(CleanRefusal::Kind::settingsUnreadable, guard.error().describe());
    const auto id = Uuid::fresh();
    if (!id) return notRecordable(id.error());
    return cleanLocked({.items = order.items,
                        .safety = *guard,
                        .isDryRun = order.isDryRun,
                        .id = *id,
                        .startedAt = std::chrono::system_clock::now(),
                        .isCancelled = order.isCancelled,
                        .onItem = order.onItem,
                        .onProgress = order.onProgress});
}

// A rehearsal has nothing to lose, and so no journal.
std::expected<CleanOutcome, CleanRefusal> Session::cleanLocked(CleanRequest request) const {
    HistoryStore store = history();
    std::optional<CleanupJournal> journal;
    if (!request.isDryRun) {
        auto begun = CleanupJournal::begin(store.directory(), intentOf(request));
        if (!begun) return notRecordable(begun.error());
        journal = *std::move(begun);
        request.onEntry = [&](const ReceiptEntry& entry) { return journal->record(entry).has_value(); };
    }
    CleanOutcome outcome;
    outcome.before = capacityOf(home_.path);
    outcome.receipt = Cleaner({toolbox(), trash(), home_.path}).clean(request);
    outcome.after = capacityOf(home_.path);
    if (const auto disk = DiskInfo::current(home_.path); disk && !request.isDryRun)
        (void)trend().record(*disk, std::chrono::system_clock::now());
    outcome.isInterrupted = outcome.receipt.entries.size() < request.items.size();
    outcome.isRecorded = store.append(outcome.receipt);
    // Not recorded: the journal stays, and the next start makes the receipt from it.
    if (journal && outcome.isRecorded) outcome.isRecorded = journal->finish().has_value();
    return outcome;
}

}  // namespace brindle
