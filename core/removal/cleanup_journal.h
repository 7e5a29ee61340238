// What a cleanup is about to do and what it has done, on the disk before the next thing is touched. The file lies
// beside the history while a cleanup runs, and is gone when its receipt is stored (the format: docs/history.md).
//
//   begin(): the whole intent; record(): an item's outcome, before the next; finish(): once the history has it
//
// One thread, and one cleanup at a time over all processes: the caller holds the lock. Calls block on the disk.
#pragma once

#include <expected>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/path_identity.h"
#include "core/model/receipt.h"
#include "core/platform/appending_file.h"
#include "core/platform/error.h"

namespace brindle {

struct PlannedItem {
    ReceiptEntry entry;  // as it stands in the history when all goes well; `bytes` are those of the scan
    std::map<std::string, PathIdentity> identities;  // by path, as they were at the scan

    bool operator==(const PlannedItem&) const = default;
};

// A safe item is to be deleted, one to review to go to the Trash, a protected one to be refused.
PlannedItem plannedItem(const CleanupItem& item);

struct CleanupIntent {
    Uuid id;                         // of the receipt
    TimePoint performedAt;           // kept in whole seconds
    std::vector<PlannedItem> items;  // in the order in which they are worked

    bool operator==(const CleanupIntent&) const = default;
};

class CleanupJournal {
  public:
    // Kind::alreadyExists while the journal of an earlier cleanup lies there: it must be turned into a receipt
    // first. After any error nothing may be removed. Makes the directory (0700) and the file (0600).
    static std::expected<CleanupJournal, Error> begin(const std::string& directory,
                                                      const CleanupIntent& intent);

    // The outcome of the next item. After an error the cleanup must end: nothing more can be recorded here.
    std::expected<void, Error> record(const ReceiptEntry& entry);

    // Removes the file. Only when the history holds the receipt.
    std::expected<void, Error> finish();

  private:
    CleanupJournal(std::string path, AppendingFile file) : path_(std::move(path)), file_(std::move(file)) {}
    std::string path_;
    AppendingFile file_;
};

struct JournalContent {
    std::optional<CleanupIntent> intent;  // absent: begin() did not return, so nothing was touched
    std::vector<ReceiptEntry> finished;   // of the first items, in their order

    bool operator==(const JournalContent&) const = default;
};

std::string journalPath(const std::string& directory);

// Absent when there is no journal. A last line that a power cut tore is passed over; anything else that is not as
// it was written is an error, and the file stays as it is.
std::expected<std::optional<JournalContent>, Error> readJournal(const std::string& directory);
std::expected<JournalContent, Error> journalFromText(std::string_view text);

// Takes the journal away, for who has recorded what was in it.
std::expected<void, Error> removeJournal(const std::string& directory);

}  // namespace brindle
