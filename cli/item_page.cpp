#include "cli/item_page.h"

#include <algorithm>
#include <vector>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

Row sizeRow(const CleanupItem& item) {
    const DirectoryMeasurement& measurement = item.measurement;
    Row row{localized("Size"), {localized("%@ on disk", sizeText(item.measurement))}};
    if (measurement.source == DirectoryMeasurement::Source::measured) {
        row.paragraphs.push_back(localized("%@ as the sizes of its files add up",
                                           ByteFormat::shortText(measurement.logicalBytes)));
    }
    if (measurement.isSparse()) {
        row.paragraphs.push_back(localized("Sparse: its files look much larger than what they occupy."));
    }
    if (measurement.deduplicatedBytes > 0) {
        row.paragraphs.push_back(localized(
            "%@ more are shared with files counted elsewhere in this scan (hard links); they are not part "
            "of the size",
            ByteFormat::shortText(measurement.deduplicatedBytes)));
    }
    return row;
}

// The last of what may be a very long list is a note of how many more there are.
void addPaths(Row& row, const std::vector<std::string>& paths, const std::string& home) {
    constexpr std::size_t kMostPaths = 20;
    for (std::size_t index = 0; index < std::min(paths.size(), kMostPaths); ++index) {
        row.paragraphs.push_back(shownPath(paths[index], home));
    }
    if (paths.size() > kMostPaths) {
        row.paragraphs.push_back(
            localized("and %@ more (--json shows all)",
                      ByteFormat::count(static_cast<std::int64_t>(paths.size() - kMostPaths))));
    }
}

Row removalRow(const CleanupItem& item, const std::string& home) {
    Row row{localized("Removal"), {}};
    if (!isRemovable(item.classification)) {
        row.paragraphs.push_back(localized("Brindle shows it and never removes it."));
        return row;
    }
    if (item.removal.isCommand()) {
        row.paragraphs.push_back(localized("by the tool's own command:"));
        row.paragraphs.push_back(printable(item.removal.description()));
        return row;
    }
    row.paragraphs.push_back(item.classification == Classification::safe ? localized("deleted outright:")
                                                                         : localized("moved to the Trash:"));
    addPaths(row, item.removal.affectedPaths(), home);
    return row;
}

Rows rowsOf(const CleanupItem& item, const std::string& home) {
    const Explanation& explanation = item.explanation;
    Rows rows;
    rows.push_back({localized("Module"),
                    {displayName(item.moduleID) + " (" + std::string(rawText(item.moduleID)) + ")"}});
    addText(rows, localized("Path"), item.detail());
    if (item.projectPath) rows.push_back({localized("Project"), {shownPath(*item.projectPath, home)}});
    addText(rows, localized("What it is"), explanation.whatItIs());
    addText(rows, localized("What happens next"), explanation.whatHappensNext());
    addText(rows, localized("Why suggested"), explanation.whySuggested().value_or(""));
    if (explanation.regeneratedBy) {
        addText(rows, localized("How it comes back"), returnText(*explanation.regeneratedBy));
    }
    if (item.clears) addText(rows, localized("Also clears"), localized(*item.clears));
    rows.push_back(sizeRow(item));
    addText(rows, localized("Provenance"), item.measurement.provenance());
    for (const Fact& fact : explanation.facts) addText(rows, fact.label(), fact.value());
    Row skipped{localized("Not measured"), {}};
    addPaths(skipped, item.measurement.unreadablePaths, home);
    addPaths(skipped, item.measurement.otherVolumePaths, home);
    if (!skipped.paragraphs.empty()) rows.push_back(skipped);
    rows.push_back(removalRow(item, home));
    return rows;
}

// Where the three do not fit beside each other the title gets a line of its own.
std::string headingText(const CleanupItem& item, const Look& look) {
    const std::string title = spelled(printable(item.title()), look.glyphs);
    const std::string id = printable(item.id);
    const std::string judgement = displayName(item.classification);
    const std::string judged = look.palette.judged(item.classification, judgement);
    if (displayWidth(title) + displayWidth(id) + displayWidth(judgement) + 4 <= look.width) {
        return look.palette.heading(title) + "  " + look.palette.quiet(id) + "  " + judged + "\n";
    }
    const unsigned room = look.width - std::min(look.width, displayWidth(judgement) + 4);
    return look.palette.heading(shortenEnd(title, look.width, look.glyphs.ellipsis())) + "\n  " +
           look.palette.quiet(shortenMiddle(id, room, look.glyphs.ellipsis())) + "  " + judged + "\n";
}

}  // namespace

std::string itemPage(const CleanupItem& item, const std::string& home, const Look& look,
                     const std::optional<SafetyVerdict>& verdict) {
    Rows rows = rowsOf(item, home);
    if (verdict) {
        addText(rows, localized("Safety guard"),
                verdict->isAllowed() ? localized("would let it go now")
                                     : localized("would refuse it now: %@", verdict->reason().value_or("")));
    }
    return headingText(item, look) + rowsText(rows, look);
}

}  // namespace brindle
