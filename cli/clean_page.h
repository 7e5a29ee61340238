// What is shown before a cleanup and after it.
#pragma once

#include <string>
#include <vector>

#include "cli/clean_selection.h"
#include "cli/item_view.h"
#include "cli/palette.h"
#include "core/session/cleanup.h"
#include "core/session/cleanup_plan.h"

namespace brindle {

// --- before; each text ends with a line feed, or is empty ---

// The items with the numbers by which they are picked.
std::string choiceText(const std::vector<CleanupItem>& items, const AgeText& age, const Look& look);

// Of every item what exactly goes, and how; the sum, and what of it is free when. Paths and commands are never broken.
std::string intentText(const std::vector<CleanupItem>& items, const Look& look);

std::string leftAloneText(const std::vector<ItemLeftAlone>& items, const Look& look);

// What fitted but was not chosen.
std::string passedOverText(const CleanSelection& selection, const Look& look);

// --- after ---

struct CleanResult {
    const CleanOutcome& outcome;
    const std::vector<CleanupItem>& items;  // that were to go
    const std::vector<ItemLeftAlone>& leftAlone;
    bool mayShareBlocks = false;  // the volume knows clones
};

// What became of each, what that freed, what the volume gained, why these differ, and whether it is recorded.
std::string outcomeText(const CleanResult& result, const Look& look);

std::string outcomeJson(const CleanResult& result);

// Everything asked for was left alone, so there is no receipt.
std::string nothingDoneJson(const std::vector<ItemLeftAlone>& leftAlone);

// Everything that was asked for has gone.
bool isAllDone(const CleanResult& result);

}  // namespace brindle
