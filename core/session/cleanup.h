// What a cleanup is asked to do, and how it ended.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/model/cleanup_item.h"
#include "core/model/receipt.h"
#include "core/platform/volume.h"
#include "core/removal/cleaner.h"
#include "core/scan/scan_report.h"

namespace brindle {

struct CleanOrder {
    std::vector<CleanupItem> items;  // of the report, in the order in which they are to go
    const ScanReport& report;        // that offered them: the guard takes from it what lies inside projects
    bool isDryRun = false;
    CancellationTest isCancelled = [] { return false; };
    std::function<void(const CleanupItem&)> onItem = [](const CleanupItem&) {};  // before each
    std::function<void(const CleanProgress&)> onProgress = [](const CleanProgress&) {};
    // Asked right before an item goes, in addition to the guard: a sentence on why it stays, localised.
    std::function<std::optional<std::string>(const CleanupItem&)> objection =
        [](const CleanupItem&) -> std::optional<std::string> { return std::nullopt; };
};

struct CleanOutcome {
    Receipt receipt;
    bool isRecorded = false;     // the history on the disk holds the receipt
    bool isInterrupted = false;  // cancelled, or not recordable: items at the end have no entry
    // Of the home's volume, right before the first act and right after the last; absent where it tells none.
    std::optional<VolumeCapacity> before;
    std::optional<VolumeCapacity> after;
};

// Why nothing was begun.
struct CleanRefusal {
    enum class Kind {
        historyUnreadable,   // or the journal of an interrupted cleanup is: both are left as they are
        busy,                // another cleanup is running
        settingsUnreadable,  // without the protected paths nothing may go
        nothingMayGo,        // what was chosen is not to be removed
        notRecordable,       // the intent could not be written: a full disk, a read-only folder
    };
    Kind kind = Kind::notRecordable;
    std::string sentence;  // localised
};

}  // namespace brindle
