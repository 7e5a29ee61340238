// One well-known cache folder: where it lies, what to say of it, how it goes.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/scan/scan_context.h"

namespace brindle {

inline constexpr std::string_view kCommonWhySuggested =
    "Nothing here is the only copy of anything. It is a cache, and the tool fills it again the next time it "
    "needs what was in it.";

struct CacheSpec {
    std::string key;  // stable within its module; part of the item's identity
    std::string title;
    std::string relativePath;  // below the home folder
    std::string whatItIs;
    std::string whatHappensNext;
    std::string whySuggested = std::string(kCommonWhySuggested);
    Regeneration regeneratedBy;
    std::optional<RunCommand> command = std::nullopt;  // removed by the tool instead of by hand
    Classification classification = Classification::safe;

    // Measures the first of the folders that holds something. Absent when none does, and when the scan was
    // cancelled.
    std::optional<CleanupItem> item(const ScanContext& context, ModuleID module) const;
};

// A folder that is shown so that the user sees where the space is, and never removed.
struct ProtectedSpec {
    std::string key;
    std::string title;
    std::string relativePath;
    std::string reason;  // shown as what it is

    std::optional<CleanupItem> item(const ScanContext& context, ModuleID module) const;
};

}  // namespace brindle
