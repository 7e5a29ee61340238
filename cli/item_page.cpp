#include "cli/item_page.h"

#include <algorithm>
#include <sstream>
#include <utility>
#include <vector>

#include "cli/display_width.h"
#include "cli/unreachable_view.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

struct Row {
    std::string label;
    std::vector<std::string> paragraphs;
};

using Rows = std::vector<Row>;

void addText(Rows& rows, const std::string& label, const std::string& text) {
    Row row{label, {}};
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) row.paragraphs.push_back(printable(line));
    if (!row.paragraphs.empty()) rows.push_back(std::move(row));
}

std::string returnText(const Regeneration& regeneration) {
    switch (regeneration.kind) {
        case Regeneration::Kind::command:
            return localized("by running: %@", regeneration.text());
        case Regeneration::Kind::action:
            return regeneration.text();
        case Regeneration::Kind::automatic:
            return localized("by itself: %@", regeneration.text());
    }
    return "";
}

Row sizeRow(const CleanupItem& item) {
    const DirectoryMeasurement& measurement = item.measurement;
    Row row{localized("Size"), {localized("%@ on disk", sizeText(item))}};
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
    const std::string title = printable(item.title());
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

std::string rowText(const Row& row, unsigned labels, const Look& look) {
    const unsigned indent = look.isNarrow() ? 4 : 2 + labels + 2;
    bool isFirst = !look.isNarrow() && displayWidth(row.label) <= labels;  // beside its label
    std::string text =
        "  " + look.palette.heading(padRight(row.label, isFirst ? labels : 0)) + (isFirst ? "  " : "\n");
    for (const std::string& paragraph : row.paragraphs) {
        for (const std::string& line : wrap(paragraph, look.width - indent)) {
            text += (isFirst ? "" : std::string(indent, ' ')) + line + "\n";
            isFirst = false;
        }
    }
    return text;
}

}  // namespace

std::string itemPage(const CleanupItem& item, const std::string& home, const Look& look) {
    const Rows rows = rowsOf(item, home);
    unsigned labels = 0;
    for (const Row& row : rows) labels = std::max(labels, displayWidth(row.label));
    std::string text = headingText(item, look);
    for (const Row& row : rows) text += rowText(row, std::min(labels, 20U), look);
    return text;
}

}  // namespace brindle
