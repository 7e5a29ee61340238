// Carries out a cleanup: every item is judged again on the disk as it is now, then removed in the way that its
// classification and its strategy ask for. Safe paths are deleted, paths to review go to the Trash, a tool's own data
// by the tool's own command.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "core/guard/safety_guard.h"
#include "core/measure/directory_sizer.h"
#include "core/model/cleanup_item.h"
#include "core/model/receipt.h"
#include "core/platform/trash.h"
#include "core/tools/toolbox.h"

namespace brindle {

// After an item.
struct CleanProgress {
    std::size_t completed = 0;
    std::size_t total = 0;
    std::string currentTitle;  // localised
    std::uint64_t bytesFreedSoFar = 0;

    double fraction() const;  // 0 when nothing was chosen

    bool operator==(const CleanProgress&) const = default;
};

// Of who knows more of an item than its paths, right before it goes.
struct LastWord {
    std::optional<std::string> refusal{};  // a localised sentence: it stays
    std::optional<std::string> note{};     // for its entry when it has gone
};

struct CleanRequest {
    std::vector<CleanupItem> items;  // worked in this order
    SafetyGuard safety;              // for the report that offered them
    bool isDryRun = false;           // everything but the act itself
    Uuid id = {};                    // of the receipt
    TimePoint startedAt = {};
    CancellationTest isCancelled = [] { return false; };  // asked before each item, and while a tool runs
    std::function<void(const CleanupItem&)> onItem = [](const CleanupItem&) {};  // before each
    std::function<LastWord(const CleanupItem&)> lastWord = [](const CleanupItem&) { return LastWord{}; };
    // After each. False ends the cleanup before the next one: what cannot be recorded must not be done.
    std::function<bool(const ReceiptEntry&)> onEntry = [](const ReceiptEntry&) { return true; };
    std::function<void(const CleanProgress&)> onProgress = [](const CleanProgress&) {};
};

// What it works with. Values.
struct CleanerMeans {
    Toolbox tools;
    Trash trash;
    std::string home;  // absolute, links resolved
};

// Holds no state between calls. clean() blocks; the callbacks are called on its thread.
class Cleaner {
  public:
    explicit Cleaner(CleanerMeans means) : means_(std::move(means)) {}

    // One item after the other. Never fails as a whole: a refusal or a failure is an entry. Items that were not reached
    // have none.
    Receipt clean(const CleanRequest& request) const;

  private:
    std::optional<ReceiptEntry> handled(const CleanupItem& item, const CleanRequest& request) const;
    ReceiptEntry removePaths(const CleanupItem& item, const CleanRequest& request) const;
    bool isStillOffered(const CleanupItem& item, const CleanRequest& request) const;

    CleanerMeans means_;
};

}  // namespace brindle
