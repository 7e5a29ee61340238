// The history of cleanups as a list, and one of them as a page.
#pragma once

#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/insight/schedule_log.h"
#include "core/model/receipt.h"

namespace brindle {

struct HistorySetting {
    std::string home;  // paths in it are written with "~", but for those in commands
    Look look;
    std::vector<ScheduledRun> runs = {};  // newest first
};

// Of all receipts, in their order, and of the latest scheduled runs. Looks whether what went to the Trash still lies there. Ends with a line feed.
std::string historyList(const std::vector<Receipt>& receipts, const HistorySetting& setting);

// `identity` is how the receipt is named in commands.
std::string historyPage(const Receipt& receipt, const std::string& identity, const HistorySetting& setting);

}  // namespace brindle
