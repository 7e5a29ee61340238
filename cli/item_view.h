// Items as lines of the report, and as the page that `explain` shows.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cli/palette.h"
#include "core/model/cleanup_item.h"

namespace brindle {

// "3 days ago", measured against the scan.
using AgeText = std::function<std::string(std::optional<std::chrono::sys_seconds>)>;

// The size as it may be believed: "at least" where something inside could not be measured.
std::string sizeText(const DirectoryMeasurement& measurement);
std::string shortSizeText(const DirectoryMeasurement& measurement, const Look& look);  // with a symbol for it

// "comes back with: pip install"
std::string comesBackText(const Regeneration& regeneration);
// The same beside a label that says what it is about: "by running: cargo build".
std::string returnText(const Regeneration& regeneration);

// A table of items: columns are aligned over everything added, in the order given to lines().
class ItemTable {
  public:
    ItemTable(Look look, AgeText age) : look_(look), age_(std::move(age)) {}

    // So that the columns of several modules are aligned.
    void makeRoomFor(const CleanupItem& item);

    std::string lines(const CleanupItem& item) const;

  private:
    std::string wideLines(const CleanupItem& item) const;
    std::string narrowLines(const CleanupItem& item) const;
    std::string ageOf(const CleanupItem& item) const;
    std::string quietNotes(const CleanupItem& item, unsigned indent, unsigned columns) const;
    std::string shortSize(const CleanupItem& item) const;
    std::vector<std::string> notes(const CleanupItem& item) const;

    Look look_;
    AgeText age_;
    unsigned sizeColumns_ = 8;
    unsigned wordColumns_ = 4;
};

}  // namespace brindle
