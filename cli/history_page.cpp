#include "cli/history_page.h"

#include <fmt/format.h>

#include <algorithm>

#include "cli/item_view.h"
#include "cli/page_rows.h"
#include "cli/schedule_page.h"
#include "cli/text_table.h"
#include "cli/unreachable_view.h"
#include "core/platform/file_status.h"
#include "core/removal/put_back.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

bool isThere(const PlaceInTrash& place) {
    return statusOf(place.path).has_value();
}

// "2026-11-21 07:19 UTC"
std::string receiptDate(const Receipt& receipt) {
    return minuteText(std::chrono::floor<std::chrono::seconds>(receipt.performedAt)).value_or("");
}

// Nothing that went there was put back or emptied out since.
bool allLiesInTrash(const Receipt& receipt) {
    return std::ranges::all_of(receipt.entries, [](const ReceiptEntry& entry) {
        const auto places = placesInTrash(entry);
        return entry.method != RemovalMethod::trashed ||
               (!places.empty() && std::ranges::all_of(places, isThere));
    });
}

// Something of it lies in the Trash, and where it was is known.
bool canBePutBack(const Receipt& receipt) {
    return std::ranges::any_of(receipt.entries, [](const ReceiptEntry& entry) {
        return std::ranges::any_of(placesInTrash(entry), [](const PlaceInTrash& place) {
            return !place.from.empty() && isThere(place);
        });
    });
}

std::int64_t countOf(const Receipt& receipt, RemovalMethod method) {
    return std::ranges::count(receipt.entries, method, &ReceiptEntry::method);
}

// --- the list ---

// What a row says behind the numbers, beginning with how many items there were.
std::string remarks(const Receipt& receipt, const HistorySetting& setting) {
    std::vector<std::string> parts;
    if (std::ranges::find(setting.runs, receipt.id, &ScheduledRun::receipt) != setting.runs.end())
        parts.push_back(localized("by itself"));
    if (receipt.wasDryRun) parts.push_back(localized("rehearsal"));
    parts.push_back(CoreStrings::plural("count.items", static_cast<std::int64_t>(receipt.entries.size())));
    if (const auto refused = countOf(receipt, RemovalMethod::refused); refused > 0)
        parts.push_back(CoreStrings::plural("count.itemsRefused", refused));
    const auto failed = countOf(receipt, RemovalMethod::failed) +
                        std::ranges::count_if(receipt.entries, &ReceiptEntry::isPartialFailure);
    if (failed > 0) parts.push_back(CoreStrings::plural("count.itemsFailed", failed));
    if (canBePutBack(receipt)) parts.push_back(localized("can be put back"));
    return fmt::format("{}", fmt::join(parts, setting.look.glyphs.dot()));
}

// A rehearsal has freed nothing.
std::string bytesText(const Receipt& receipt, std::uint64_t bytes) {
    return receipt.wasDryRun ? "-" : ByteFormat::shortText(bytes);
}

// --- the page ---

std::string methodText(const ReceiptEntry& entry, bool wasDryRun) {
    switch (entry.method) {
        case RemovalMethod::deleted:
            return wasDryRun ? localized("would be deleted") : localized("deleted");
        case RemovalMethod::trashed:
            return wasDryRun ? localized("would be moved to the Trash") : localized("moved to the Trash");
        case RemovalMethod::command:
            return wasDryRun ? localized("would be removed by the tool's own command")
                             : localized("removed by the tool's own command");
        case RemovalMethod::refused:
            return localized("refused: nothing was touched");
        case RemovalMethod::failed:
            return localized("failed");
    }
    return "";
}

void addPaths(Rows& rows, const std::string& label, const std::vector<std::string>& paths,
              const std::string& home) {
    constexpr std::size_t kMostPaths = 20;
    Row row{label, {}};
    for (std::size_t index = 0; index < std::min(paths.size(), kMostPaths); ++index)
        row.paragraphs.push_back(shownPath(paths[index], home));
    if (paths.size() > kMostPaths) {
        const auto more = static_cast<std::int64_t>(paths.size() - kMostPaths);
        row.paragraphs.push_back(localized("and %@ more (--json shows all)", ByteFormat::count(more)));
    }
    if (!row.paragraphs.empty()) rows.push_back(std::move(row));
}

std::string placeText(const PlaceInTrash& place, const std::string& home) {
    const std::string shown = shownPath(place.path, home);
    if (!isThere(place)) return localized("%@: no longer there", shown);
    if (place.from.empty()) return localized("%@: where it was is not recorded", shown);
    return localized("%@: can be put back to %@", shown, shownPath(place.from, home));
}

Rows rowsOf(const ReceiptEntry& entry, bool wasDryRun, const std::string& home) {
    Rows rows;
    std::string outcome = methodText(entry, wasDryRun);
    if (entry.isPartialFailure()) outcome = localized("%@, but not all of it", outcome);
    rows.push_back({localized("Outcome"), {outcome, ByteFormat::shortText(entry.bytes)}});
    addPaths(rows, localized("Path"), entry.paths, home);
    if (entry.regeneratedBy) addText(rows, localized("How it comes back"), returnText(*entry.regeneratedBy));
    addText(rows, localized("Note"), entry.note.value_or(""));
    for (const std::string& failure : entry.pathFailures.value_or(std::vector<std::string>()))
        addText(rows, localized("What went wrong"), failure);
    Row trashed{localized("In the Trash"), {}};
    for (const PlaceInTrash& place : placesInTrash(entry))
        trashed.paragraphs.push_back(placeText(place, home));
    if (!trashed.paragraphs.empty()) rows.push_back(std::move(trashed));
    // Of a command its line; else what came later.
    const bool isCommand = entry.paths.empty();
    addText(rows, localized(isCommand ? "Command" : "Since then"), entry.action.value_or(""));
    return rows;
}

std::string sumsText(const Receipt& receipt) {
    if (receipt.wasDryRun) return localized("A rehearsal: nothing was removed.");
    const std::string freed = ByteFormat::shortText(receipt.reclaimedBytes());
    if (receipt.trashedBytes() == 0) return localized("%@ freed.", freed);
    // The places below tell which were put back, and which are gone for good.
    if (!allLiesInTrash(receipt))
        return localized("%@ freed, %@ moved to the Trash.", freed,
                         ByteFormat::shortText(receipt.trashedBytes()));
    return localized("%@ freed, %@ moved to the Trash: free once it is emptied.", freed,
                     ByteFormat::shortText(receipt.trashedBytes()));
}

}  // namespace

std::string historyList(const std::vector<Receipt>& receipts, const HistorySetting& setting) {
    const Look& look = setting.look;
    const std::string runs = scheduledRunsText(setting.runs, look);
    if (receipts.empty()) return paragraphText(localized("There was no cleanup yet."), 0, look) + runs;
    TextTable table(
        {"#", localized("Date"), localized("Freed"), localized("To the Trash"), localized("What")});
    for (std::size_t index = 0; index < receipts.size(); ++index) {
        const Receipt& receipt = receipts[index];
        table.add({ByteFormat::count(static_cast<std::int64_t>(index + 1)), receiptDate(receipt),
                   bytesText(receipt, receipt.reclaimedBytes()), bytesText(receipt, receipt.trashedBytes()),
                   remarks(receipt, setting)});
    }
    return table.text(look) + "\n" +
           paragraphText(localized("\"brindle history %@\" tells more of the newest.", "1"), 0, look) + runs;
}

std::string historyPage(const Receipt& receipt, const std::string& identity, const HistorySetting& setting) {
    const Look& look = setting.look;
    std::string text = look.palette.heading(receiptDate(receipt)) + "  " +
                       look.palette.quiet(receipt.id.text()) + "\n" +
                       paragraphText(sumsText(receipt), 0, look);
    if (receipt.entries.empty()) text += paragraphText(localized("Nothing was chosen, or reached."), 0, look);
    for (std::size_t index = 0; index < receipt.entries.size(); ++index) {
        const ReceiptEntry& entry = receipt.entries[index];
        const std::string title = fmt::format("{}  {}", index + 1, printable(localized(entry.title)));
        text += "\n" +
                look.palette.heading(spread(spelled(title, look.glyphs), "", look.spreadWidth(), look)) +
                "\n" + "  " + look.palette.quiet(printable(entry.itemID)) + "\n" +
                rowsText(rowsOf(entry, receipt.wasDryRun, setting.home), look);
    }
    if (!canBePutBack(receipt)) return text;
    return text + "\n" +
           paragraphText(localized("To put back what lies in the Trash, all or by number:"), 0, look) +
           commandText("brindle restore " + identity) +
           commandText("brindle restore " + identity + " NUMBER");
}

}  // namespace brindle
