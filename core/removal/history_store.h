// The history of cleanups: one file of receipts, newest first (the format: docs/history.md). No cleanup may start
// while loadChecked() fails, as what it removed could not be recorded.
//
// Whole-file operations that block; any thread. Changes are one at a time over all processes, which is the caller's
// business; a reader beside one sees the old file or the new one.
#pragma once

#include <expected>
#include <string>
#include <vector>

#include "core/model/receipt.h"
#include "core/platform/error.h"

namespace brindle {

class HistoryStore {
  public:
    struct ReadError {
        enum class Kind { invalidHistory };  // the file is there and could not be read or decoded
        Kind kind = Kind::invalidHistory;
        Error cause;
    };

    // The folder that holds the file; it need not be there yet.
    explicit HistoryStore(std::string directory) : directory_(std::move(directory)) {}
    // "Library/Application Support/Brindle" below the home folder (absolute), on every system.
    static HistoryStore ofHome(const std::string& home);

    const std::string& directory() const { return directory_; }
    std::string url() const;  // the path of the file

    // All receipts, newest first; of two with one identity the first. No file is no receipt; a link that leads
    // nowhere is an error, for a history may lie at its end.
    std::expected<std::vector<Receipt>, ReadError> loadChecked() const;

    // For display alone: what cannot be read is empty.
    std::vector<Receipt> load() const;

    // Puts the receipt first; one whose identity is stored already is not stored again. True only when the whole
    // history with this receipt is on the disk, file (0600) and folder (0700 when made here) synced. An unreadable
    // history stays as it is, byte for byte. After false the receipt may be there or not; the same call may be made
    // again.
    bool append(const Receipt& receipt);
    std::expected<void, Error> appendChecked(const Receipt& receipt);  // the same, with the reason

    // Whether the history could take up such a receipt: it is readable, and would still be. Nothing is written.
    std::expected<void, Error> mayAppend(const Receipt& receipt) const;

    // The receipt takes the place of the stored one with its identity; Kind::missing when there is none. Otherwise as
    // appendChecked().
    std::expected<void, Error> replaceChecked(const Receipt& receipt);

  private:
    std::expected<void, Error> store(const std::vector<Receipt>& receipts);
    std::string directory_;
};

// The entries of which something still lies in the Trash now. A link that leads nowhere lies there too.
std::vector<ReceiptEntry> recoverableNow(const Receipt& receipt);

}  // namespace brindle
