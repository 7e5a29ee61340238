// Identical files on the terminal and as JSON, and what became of those that were to go.
#pragma once

#include <string>
#include <vector>

#include "cli/item_view.h"
#include "cli/palette.h"
#include "core/session/cleanup.h"
#include "core/session/duplicate_order.h"

namespace brindle {

// Of one content: what stays, and what goes to the Trash.
struct DuplicateChoice {
    std::string kept;
    std::vector<std::string> moved;
    std::uint64_t bytes = 0;  // that will be free
};

// Groups, then what was passed over, then the sum.
std::string duplicatesText(const FoundDuplicates& found, const std::string& home, const Look& look);

std::string duplicatesJson(const FoundDuplicates& found);

// Exactly what goes, and what stays for it; paths are never broken.
std::string duplicateIntentText(const std::vector<DuplicateChoice>& choices, const Look& look);

// What was refused and why, then how many went and whether that is recorded.
std::string trashedDuplicatesText(const CleanOutcome& outcome, const Look& look);

}  // namespace brindle
