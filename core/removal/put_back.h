// The way back: what a cleanup put into the Trash returns to where it was, and the history says so.
//
// Nothing is ever put over something else. A thing is known by its inode and its type on the volume of the Trash, for
// the number of a device may be another one after a restart. Blocking calls; the caller holds the lock of cleanups.
#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/receipt.h"
#include "core/platform/trash.h"
#include "core/removal/history_store.h"

namespace brindle {

// What an entry has in the Trash, as far as its receipt tells.
struct PlaceInTrash {
    std::string path;
    std::string from;                   // where it was; empty when that was not kept
    std::optional<TrashedThing> thing;  // absent as well when nothing lies there now of which to learn it
};

// In the order of trashedPaths. Where a receipt has nothing but paths, they are those of the item when as many went
// as it had and none failed, and the thing is what lies there now.
std::vector<PlaceInTrash> placesInTrash(const ReceiptEntry& entry);

// An entry of a receipt, or one thing of it.
struct PutBackChoice {
    std::size_t entry = 0;
    std::string from{};  // where the thing was; empty: all of the entry

    bool operator==(const PutBackChoice&) const = default;
    bool includes(const PlaceInTrash& place) const { return from.empty() || from == place.from; }
};

struct PutBackResult {
    enum class End {
        done,     // put back; in a rehearsal: would be
        wasBack,  // out of the Trash, and where it was: somebody was faster, or a crash came before the record
        occupied,  // something else has come to its place; another name would do
        gone,      // no longer in the Trash
        replaced,  // something else lies there in the Trash
        failed,
    };
    std::size_t entry = 0;  // of the receipt
    std::string trashed;    // where in the Trash it lay
    std::string from;       // where it was; empty when that was not kept
    std::string place;      // where it is to be; empty when that was not kept
    End end = End::failed;
    std::string sentence;  // localised; empty when done

    bool isBack() const { return end == End::done || end == End::wasBack; }
};

struct PutBackRequest {
    std::vector<PutBackChoice> choices{};  // in this order
    std::optional<std::string> place{};    // absolute: another place, for the one thing to come back
    bool isDryRun = false;                 // all of it but the last call; nothing is written
    TimePoint now = std::chrono::system_clock::now();
    CancellationTest isCancelled = [] { return false; };  // asked before each thing
};

struct PutBackOutcome {
    Receipt receipt;  // as it stands now
    std::vector<PutBackResult> results;
    bool isInterrupted = false;  // some things were not reached
    std::optional<Error>
        unrecorded{};  // the last thing that is back is not in the history; nothing was done after it
};

class PutBack {
  public:
    PutBack(HistoryStore& history, const Trash& trash) : history_(history), trash_(trash) {}

    // Thing by thing; after each the stored receipt shows it: the thing leaves trashedPaths and trashedObjects, and
    // `action` says when. Bytes and method stay, for what happened then happened. A crash in between is made good by
    // the next call. An error, with nothing moved, when the history cannot be written.
    std::expected<PutBackOutcome, Error> restore(const Receipt& receipt, const PutBackRequest& request);

  private:
    PutBackResult restoreOne(const PlaceInTrash& found, const PutBackRequest& request) const;
    std::optional<PutBackResult> obstacle(const PlaceInTrash& place, const std::string& target) const;

    HistoryStore& history_;
    const Trash& trash_;
};

}  // namespace brindle
