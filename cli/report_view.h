// The report of a scan as a person reads it.
#pragma once

#include <string>

#include "cli/item_view.h"
#include "cli/options.h"
#include "cli/palette.h"
#include "core/scan/scan_report.h"

namespace brindle {

struct ReportPage {
    const ScanReport& report;
    ItemFilter filter;
    std::string home;
    AgeText age;
    bool isInterrupted = false;
    std::vector<ModuleID> unfinished = {};  // told when interrupted
    bool isOneModule = false;               // then the volume's slices would be untrue, and are left out
    Look look;
};

// Bar, items by module, what could not be measured, totals of the whole scan. Ends with a line feed.
std::string reportText(const ReportPage& page);

}  // namespace brindle
