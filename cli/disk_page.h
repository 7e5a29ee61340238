// The volume now and over time, as text and as JSON.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/insight/storage_trend.h"
#include "core/scan/scan_report.h"

namespace brindle {

struct DiskView {
    const ScanReport& report;
    std::vector<StorageSample> samples;  // oldest first, the one of this scan included
    std::vector<ModuleTotals> totals;    // likewise
    std::uint64_t threshold = 0;         // bytes; below it space is low

    std::optional<double> daysLeft() const { return StorageTrend::daysUntilLowSpace(samples, threshold); }
};

std::string diskText(const DiskView& view, const Look& look);
std::string diskJson(const DiskView& view, bool isPartial);

// One column a value, the least at the bottom and the most at the top; empty for fewer than two. Of more values than
// columns the latest ones.
std::string sparkline(std::vector<std::uint64_t> values, unsigned columns, const Glyphs& glyphs);

}  // namespace brindle
