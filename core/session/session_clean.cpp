// One cleanup, from the lock to the history.
#include <chrono>
#include <thread>
#include <utility>

#include "core/measure/directory_sizer.h"
#include "core/model/byte_sum.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
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
        // Since a restart the volume may have another number.
        std::string folder = folderOf(path);
        while (folder != "/" && !statusOf(folder)) folder = folderOf(folder);
        const auto status = statusOf(folder);
        if (!status) return std::unexpected(status.error());
        return trash_.find({.device = status->device, .inode = identity.inode, .mode = identity.mode}, path);
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

// The longest receipt that may come of it: everything in the Trash, and something to say of each path.
Receipt longestReceipt(const CleanRequest& request) {
    Receipt receipt{
        .id = request.id, .performedAt = request.startedAt, .entries = {}, .wasDryRun = request.isDryRun};
    for (const CleanupItem& item : request.items) {
        ReceiptEntry entry = plannedItem(item).entry;
        entry.note = std::string(1000, 'x');
        entry.pathFailures.emplace();
        entry.trashedPaths.emplace();
        entry.trashedObjects.emplace();
        for (const std::string& path : entry.paths) {
            const std::string longest = path + std::string(256, 'x');
            entry.pathFailures->push_back(longest);
            entry.trashedPaths->push_back(longest);
            entry.trashedObjects->push_back({.from = path, .to = longest});
        }
        receipt.entries.push_back(std::move(entry));
    }
    return receipt;
}

// Where a cancellation came while a tool was running.
bool hasFailedAtTheEnd(const Receipt& receipt) {
    if (receipt.entries.empty()) return false;
    const ReceiptEntry& last = receipt.entries.back();
    return last.method == RemovalMethod::failed || last.isPartialFailure();
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
std::expected<FileLock, Error> Session::cleanupLock() const {
    constexpr int kTries = 10;
    constexpr auto kPause = std::chrono::milliseconds(30);
    const std::string path = history().directory() + "/cleanup.lock";
    auto lock = FileLock::tryAcquire(path);
    for (int tries = 1; !lock && lock.error().kind == Error::Kind::busy && tries < kTries; ++tries) {
        std::this_thread::sleep_for(kPause);
        lock = FileLock::tryAcquire(path);
    }
    return lock;
}

std::expected<std::optional<Receipt>, CleanRefusal> Session::recordInterrupted() const {
    const auto journal = statusOf(journalPath(history().directory()));
    if (!journal && journal.error().kind == Error::Kind::missing) return std::nullopt;
    const auto lock = cleanupLock();
    if (!lock && lock.error().kind == Error::Kind::busy) return std::nullopt;
    const auto failed = [](CleanRefusal::Kind kind, const Error& error) {
        return refusal(kind,
                       localized("An interrupted cleanup could not be recorded: %@.", error.describe()));
    };
    if (!lock) return failed(CleanRefusal::Kind::notRecordable, lock.error());
    auto recorded = recordWhatWasLeft(history(), trash());
    if (recorded) return *std::move(recorded);
    return failed(CleanRefusal::Kind::historyUnreadable, recorded.error());
}

std::expected<CleanOutcome, CleanRefusal> Session::clean(const CleanOrder& order) const {
    return cleanUnderLock(
        {.items = order.items,
         .safety = SafetyGuard({}),
         .isDryRun = order.isDryRun,
         .isCancelled = order.isCancelled,
         .onItem = order.onItem,
         .lastWord =
             [&](const CleanupItem& item) { return LastWord{.refusal = order.objection(item), .note = {}}; },
         .onProgress = order.onProgress},
        [&] { return safetyGuard(order.report); });
}

std::expected<CleanOutcome, CleanRefusal> Session::cleanUnderLock(CleanRequest request,
                                                                  const GuardSource& guardSource) const {
    const auto lock = cleanupLock();
    if (!lock && lock.error().kind == Error::Kind::busy)
        return refusal(CleanRefusal::Kind::busy, localized("Another cleanup is running."));
    if (!lock) return notRecordable(lock.error());
    if (!recordWhatWasLeft(history(), trash()) || !history().loadChecked()) return unreadableHistory();
    const std::set<std::string> known = preferences().protectedPaths();  // before the guard takes them
    const auto guard = guardSource();
    if (!guard) return refusal(CleanRefusal::Kind::settingsUnreadable, guard.error().describe());
    const auto id = Uuid::fresh();
    if (!id) return notRecordable(id.error());
    request.safety = *guard;
    request.lastWord = [this, &guardSource, own = std::move(request.lastWord),
                        &known](const CleanupItem& item) {
        if (auto refused = protectedMeanwhile(item, known, guardSource))
            return LastWord{std::move(refused), {}};
        return own(item);
    };
    request.id = *id;
    request.startedAt = std::chrono::system_clock::now();
    return cleanLocked(std::move(request));
}

// What the user protects while a cleanup runs is heeded from the next item on.
std::optional<std::string> Session::protectedMeanwhile(const CleanupItem& item,
                                                       const std::set<std::string>& known,
                                                       const GuardSource& guardSource) const {
    const Preferences settings = preferences();
    if (const auto readable = settings.readable(); !readable) return readable.error().describe();
    if (settings.protectedPaths() == known) return std::nullopt;
    const auto guard = guardSource();
    return guard ? guard->verdictForItem(item).reason() : guard.error().describe();
}

void Session::recordSample(const Receipt& receipt) const {
    const TimePoint now = std::chrono::system_clock::now();
    if (const auto disk = DiskInfo::current(home_.path)) (void)trend().record(*disk, now);
    std::map<ModuleID, std::uint64_t> freed;
    for (const ReceiptEntry& entry : receipt.entries) {
        if (!entry.isFreeing() || entry.method == RemovalMethod::trashed) continue;
        std::uint64_t& sum = freed[entry.moduleID];
        sum = addBytes(sum, entry.bytes);
    }
    if (!freed.empty()) (void)trend().subtractFromTotals(freed, now);
}

// A rehearsal has nothing to lose, and so no journal.
std::expected<CleanOutcome, CleanRefusal> Session::cleanLocked(CleanRequest request) const {
    HistoryStore store = history();
    if (auto fits = store.mayAppend(longestReceipt(request)); !fits) return notRecordable(fits.error());
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
    outcome.isInterrupted = outcome.receipt.entries.size() < request.items.size() ||
                            (request.isCancelled() && hasFailedAtTheEnd(outcome.receipt));
    if (!request.isDryRun) recordSample(outcome.receipt);
    outcome.isRecorded = store.append(outcome.receipt);
    // Not recorded: the journal stays, and the next start makes the receipt from it.
    if (journal && outcome.isRecorded) outcome.isRecorded = journal->finish().has_value();
    return outcome;
}

}  // namespace brindle
