// Which items a person means to clean.
#pragma once

#include <cstddef>
#include <expected>
#include <set>
#include <string>
#include <vector>

#include "cli/exit_code.h"
#include "cli/options.h"
#include "core/scan/scan_report.h"
#include "core/session/cleanup_plan.h"

namespace brindle {

struct CleanSelection {
    std::vector<CleanupItem> chosen;
    std::vector<ItemLeftAlone> leftAlone;  // named, and not chosen for the reason that stands there
    // Not named; they fit but for this:
    std::size_t reviewCount = 0;   // they want to be named
    std::size_t undatedCount = 0;  // nothing tells how old they are
};

struct SelectionError {
    ExitCode code;
    std::string sentence;  // localised
};

struct SelectionQuestion {
    const ScanReport& report;
    const CleanWish& wish;
    std::string home;
    std::string workingFolder;  // for relative paths
    TimePoint now;
};

// The modules that must look so that everything asked for is found; empty: all.
std::set<ModuleID> modulesFor(const Options& options);

// The items that are named, in that order, otherwise those of the report that fit. A name that means none or several
// is an error of the whole.
std::expected<CleanSelection, SelectionError> selectItems(const SelectionQuestion& question);

// What a person may pick from: everything that may go, the largest first.
std::vector<CleanupItem> itemsToPickFrom(const ScanReport& report);

// The items picked with "1 3-5" or "all safe"; absent when that was not understood.
std::optional<std::vector<CleanupItem>> picked(std::string_view answer,
                                               const std::vector<CleanupItem>& items);

}  // namespace brindle
