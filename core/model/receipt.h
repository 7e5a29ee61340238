// What one cleanup did: an entry for each item that was chosen. Values, kept in the history for good.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/model/classification.h"
#include "core/model/module_id.h"
#include "core/model/regeneration.h"
#include "core/model/removal_strategy.h"
#include "core/model/uuid.h"
#include "core/text/calendar.h"

namespace brindle {

// One thing that was put into the Trash.
struct TrashedThing {
    std::string from;  // absolute: where it was; bytes, not text
    std::string to;    // where in the Trash it lies
    std::int32_t device = 0;
    std::uint64_t inode = 0;
    std::uint16_t mode = 0;  // type and permission bits

    bool operator==(const TrashedThing&) const = default;
};

struct ReceiptEntry {
    std::string itemID;
    ModuleID moduleID = ModuleID::system;
    std::string title;               // English source
    std::vector<std::string> paths;  // absolute; bytes, not text
    std::uint64_t bytes = 0;         // allocated; what was freed, where something was
    RemovalMethod method = RemovalMethod::failed;
    std::optional<Regeneration> regeneratedBy;
    std::optional<std::string> note;
    std::optional<Classification> classification;  // at the time of the cleanup
    std::optional<std::string> action;
    std::optional<std::vector<std::string>> pathFailures;  // a sentence for each path that stayed
    std::optional<std::vector<std::string>> trashedPaths;  // where in the Trash each thing lies
    // The same things, with what putting them back needs to know; absent in receipts of before it was kept.
    std::optional<std::vector<TrashedThing>> trashedObjects = std::nullopt;

    bool operator==(const ReceiptEntry&) const = default;

    // Something went: deleted, trashed or command.
    bool isFreeing() const;
    // Something went, and something that should have gone did not.
    bool isPartialFailure() const;
    // All that should have gone went.
    bool isAllGone() const;
};

struct Receipt {
    Uuid id;
    TimePoint performedAt;  // kept in whole seconds
    std::vector<ReceiptEntry> entries;
    bool wasDryRun = false;  // a rehearsal: nothing was removed

    bool operator==(const Receipt&) const = default;

    // Sums of allocated bytes. One that does not fit 64 bits ends the program; a receipt that was read never does.
    std::uint64_t bytesFreed() const;      // of the entries that are freeing
    std::uint64_t trashedBytes() const;    // of these, what lies in the Trash and is not free yet
    std::uint64_t reclaimedBytes() const;  // of these, what is free now

    // The entries of which something can be put back: `isThere` is asked of the places in the Trash.
    std::vector<ReceiptEntry> recoverable(const std::function<bool(const std::string& path)>& isThere) const;
};

}  // namespace brindle
