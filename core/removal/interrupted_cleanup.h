// A cleanup whose process ended in the middle: what its journal and the disk say becomes the receipt that it would
// have left. Nothing that went is missing from it; what it cannot know it does not claim.
//
// Values and blocking calls. The caller holds the lock of cleanups, so the process that left the journal is gone.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>

#include "core/removal/cleanup_journal.h"
#include "core/removal/history_store.h"

namespace brindle {

// The disk as it is now.
class RemovalProbe {
  public:
    virtual ~RemovalProbe() = default;
    // By lstat; absent when nothing lies there, an error when that cannot be told.
    virtual std::expected<std::optional<PathIdentity>, Error> identityAt(const std::string& path) const = 0;
    // Allocated, at and below the path; absent when not everything could be measured.
    virtual std::optional<std::uint64_t> bytesBelow(const std::string& path) const = 0;
    // Where in the Trash that would have taken `path` the object lies that was there, absent when it does not, an error
    // when that cannot be told. The number of a device may be another one after a restart; that of an inode stays.
    virtual std::expected<std::optional<std::string>, Error> placeInTrash(
        const std::string& path, const PathIdentity& identity) const = 0;
};

// The items that were finished as they were recorded; the one that was under way by what the probe finds, its bytes
// being those of the scan less what is left; the others failed, untouched. Sentences are in the interface language.
Receipt receiptOfInterrupted(const CleanupIntent& intent, const std::vector<ReceiptEntry>& finished,
                             const RemovalProbe& probe);

// Stores the receipt of the journal in `directory`, if there is one, and takes the journal away; a receipt that the
// history has already is left as it is. The receipt that was added, absent when there was none to add. After an
// error the journal lies there still, and no cleanup may start; the call may be made again.
std::expected<std::optional<Receipt>, Error> recoverInterrupted(HistoryStore& history,
                                                                const std::string& directory,
                                                                const RemovalProbe& probe);

}  // namespace brindle
