// A cleanup that was chosen and looked at now, to be carried out later: which items, and which objects lay at their
// paths. A plan only ever narrows a cleanup: what is removed is what a fresh scan offers, and of that only what is
// still as it was planned.
//
// Values and small files. No call removes anything; any thread.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/platform/error.h"
#include "core/scan/scan_report.h"

namespace brindle {

struct PlannedPath {
    std::string path;                      // absolute; bytes
    std::optional<PathIdentity> identity;  // absent when nothing lay there

    bool operator==(const PlannedPath&) const = default;
};

struct CleanupPlanItem {
    std::string id;
    std::string title;  // English source
    Classification classification = Classification::protected_;
    RemovalMethod method = RemovalMethod::refused;
    std::optional<RunCommand> command;  // otherwise the paths
    std::vector<PlannedPath> paths;
    std::uint64_t bytes = 0;  // allocated, at the time of the plan
    std::optional<std::string> projectPath;

    bool operator==(const CleanupPlanItem&) const = default;
};

struct CleanupPlan {
    std::string home;  // whose storage it is
    TimePoint madeAt;  // kept in whole seconds
    std::vector<CleanupPlanItem> items;

    bool operator==(const CleanupPlan&) const = default;
};

// What a cleanup would do with the item.
RemovalMethod methodFor(const CleanupItem& item);

CleanupPlan planFor(const std::vector<CleanupItem>& items, const std::string& home, TimePoint now);

// --- as a file ---

inline constexpr std::uint64_t kPlanLimit = 16ULL << 20U;

// JSON with sorted keys, and back. Anybody may have written what is read: anything that is no whole plan is an error.
std::string planText(const CleanupPlan& plan);
std::expected<CleanupPlan, Error> planFromText(std::string_view text);

std::expected<CleanupPlan, Error> readPlan(const std::string& path);

// Whether a plan may be written there: nothing lies there, or a plan that can be read. Kind::malformed
// otherwise.
std::expected<void, Error> mayHoldPlan(const std::string& path);

// 0600, whole or not at all; only where mayHoldPlan().
std::expected<void, Error> writePlan(const std::string& path, const CleanupPlan& plan);

// --- carried out ---

// An item that was asked for and will not be touched.
struct ItemLeftAlone {
    std::string id;
    std::string title;   // localised
    std::string reason;  // a localised sentence or part of one

    bool operator==(const ItemLeftAlone&) const = default;
};

struct PlannedCleanup {
    std::vector<CleanupItem> items;  // of the report, in the order of the plan
    std::vector<ItemLeftAlone> leftAlone;
};

// The items of the report that are as they were planned: the same paths or command, the same objects, the same way of
// going, and judged no riskier.
PlannedCleanup asPlanned(const CleanupPlan& plan, const ScanReport& report);

}  // namespace brindle
