// The whole volume as one bar with a legend.
#pragma once

#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/scan/scan_report.h"

namespace brindle {

// Ends with a line feed. A slice that was not measured has no part in the bar, and the legend says so, with
// the reason below it; one that was has at least a column. Without a capacity there is a sentence in its place.
std::string storageBar(const ScanReport& report, const Look& look);

// The bar's first line alone: the name of the volume and how full it is.
std::string volumeLine(const ScanReport& report, const Look& look);

// How many columns each slice gets: together `columns`, in proportion, none for nothing.
std::vector<unsigned> sharesOf(const std::vector<StorageCategory>& slices, unsigned columns);

}  // namespace brindle
