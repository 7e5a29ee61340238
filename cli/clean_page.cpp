#include "cli/clean_page.h"

#include <algorithm>
#include <sstream>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "cli/text_table.h"
#include "core/model/byte_sum.h"
#include "core/model/model_json.h"
#include "core/model/receipt_json.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

std::string counted(std::string_view key, std::size_t count) {
    return CoreStrings::plural(key, static_cast<std::int64_t>(count));
}

std::string linesOf(const std::string& text, unsigned indent, const Look& look) {
    std::string lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines += paragraphText(printable(line), indent, look);
    return lines;
}

std::string headLine(const std::string& size, const std::string& title, const std::string& id,
                     const Look& look) {
    const std::string start = "  " + padLeft(size, 9) + "  ";
    const unsigned room = look.spreadWidth() - std::min(look.spreadWidth() - 12, displayWidth(start));
    return start + spread(spelled(printable(title), look.glyphs), printable(id), room, look) + "\n";
}

// --- before ---

std::string methodText(RemovalMethod method) {
    switch (method) {
        case RemovalMethod::deleted:
            return localized("deleted outright:");
        case RemovalMethod::trashed:
            return localized("moved to the Trash:");
        case RemovalMethod::command:
            return localized("by the tool's own command:");
        case RemovalMethod::refused:
        case RemovalMethod::failed:
            break;
    }
    return localized("Brindle shows it and never removes it.");
}

std::string itemIntent(const CleanupItem& item, const Look& look) {
    std::string text = headLine(shortSizeText(item.measurement, look), item.title(), item.id, look);
    if (item.explanation.regeneratedBy)
        text += paragraphText(printable(comesBackText(*item.explanation.regeneratedBy)), 4, look);
    if (item.clears)
        text += paragraphText(localized("also clears: %@", printable(localized(*item.clears))), 4, look);
    text += paragraphText(methodText(methodFor(item)), 4, look);
    if (item.removal.isCommand()) return text + "  " + commandText(printable(item.removal.description()));
    for (const std::string& path : item.removal.affectedPaths()) text += "  " + commandText(printable(path));
    return text;
}

std::string sumText(const std::vector<CleanupItem>& items, const Look& look) {
    std::uint64_t now = 0;
    std::uint64_t later = 0;
    std::uint64_t linked = 0;
    for (const CleanupItem& item : items) {
        std::uint64_t& sum = methodFor(item) == RemovalMethod::trashed ? later : now;
        sum = addBytes(sum, item.bytes());
        linked = addBytes(linked, item.measurement.hardLinkedBytes);
    }
    std::string text = localized("%@ in all: %@ free at once", ByteFormat::shortText(addBytes(now, later)),
                                 ByteFormat::shortText(now));
    if (later > 0) text += localized(", %@ only after the Trash is emptied", ByteFormat::shortText(later));
    text += ".";
    if (linked > 0) {
        text +=
            " " +
            localized("%@ of it have further names (hard links): where one lies elsewhere, less is freed.",
                      ByteFormat::shortText(linked));
    }
    return paragraphText(text, 0, look);
}

// --- after ---

std::string doneWord(RemovalMethod method, bool isRehearsal) {
    switch (method) {
        case RemovalMethod::deleted:
            return isRehearsal ? localized("would be deleted") : localized("deleted");
        case RemovalMethod::trashed:
            return isRehearsal ? localized("would go to the Trash") : localized("in the Trash");
        case RemovalMethod::command:
            return isRehearsal ? localized("its command would run") : localized("its command ran");
        case RemovalMethod::refused:
            return localized("refused");
        case RemovalMethod::failed:
            return localized("failed");
    }
    return "";
}

std::string entryText(const ReceiptEntry& entry, bool isRehearsal, const Look& look) {
    const std::string size = entry.isFreeing() ? ByteFormat::shortText(entry.bytes) : "";
    std::string text = headLine(size, doneWord(entry.method, isRehearsal) + ": " + localized(entry.title),
                                entry.itemID, look);
    // A rehearsal notes what would be done: that has been shown.
    const bool isTold = isRehearsal && entry.isFreeing();
    if (entry.note && !isTold) text += linesOf(*entry.note, 4, look);
    for (const std::string& failure : entry.pathFailures.value_or(std::vector<std::string>()))
        text += linesOf(failure, 4, look);
    return text;
}

std::string freedText(const Receipt& receipt) {
    if (receipt.wasDryRun) {
        return localized("This was a rehearsal: nothing was removed. It would free %@ at once.",
                         ByteFormat::shortText(receipt.reclaimedBytes()));
    }
    std::string text = localized("Freed %@ now.", ByteFormat::shortText(receipt.reclaimedBytes()));
    if (receipt.trashedBytes() > 0)
        text += " " + localized("%@ lie in the Trash, and are free once it is emptied.",
                                ByteFormat::shortText(receipt.trashedBytes()));
    return text;
}

bool hasGone(const CleanResult& result, const CleanupItem& item) {
    return std::ranges::any_of(result.outcome.receipt.entries, [&](const ReceiptEntry& entry) {
        return entry.itemID == item.id && entry.isFreeing();
    });
}

// Why less came back than went.
std::string reasonsForLess(const CleanResult& result) {
    std::vector<std::string> reasons;
    const auto someGone = [&](auto isSo) {
        return std::ranges::any_of(
            result.items, [&](const CleanupItem& item) { return isSo(item) && hasGone(result, item); });
    };
    if (someGone([](const CleanupItem& item) { return item.measurement.hardLinkedBytes > 0; }))
        reasons.push_back(localized("files with further names elsewhere (hard links) stay in use"));
    if (someGone([](const CleanupItem& item) { return item.moduleID == ModuleID::docker; }))
        reasons.push_back(localized("a container engine gives its space back later"));
    if (result.mayShareBlocks)
        reasons.push_back(localized("blocks that clones or snapshots share stay in use"));
    reasons.push_back(localized("other programs were writing meanwhile"));
    std::string text;
    for (const std::string& reason : reasons) text += (text.empty() ? "" : "; ") + reason;
    return text;
}

// More than what any system writes by itself in the meantime.
bool isNotable(std::uint64_t difference, std::uint64_t freed) {
    constexpr std::uint64_t kNoise = 10'000'000;
    return difference > std::max(kNoise, freed / 100);
}

std::string volumeText(const CleanResult& result) {
    const auto& [receipt, isRecorded, isInterrupted, before, after] = result.outcome;
    if (!before || !after || receipt.wasDryRun) return "";
    const std::uint64_t had = before->availableBytes;
    const std::uint64_t has = after->availableBytes;
    const std::uint64_t freed = receipt.reclaimedBytes();
    std::string text = has >= had ? localized("The volume gained %@: %@ were free before, %@ are now.",
                                              ByteFormat::shortText(has - had), ByteFormat::shortText(had),
                                              ByteFormat::shortText(has))
                                  : localized("The volume lost %@: %@ were free before, %@ are now.",
                                              ByteFormat::shortText(had - has), ByteFormat::shortText(had),
                                              ByteFormat::shortText(has));
    const std::uint64_t expected = addBytes(had, freed);
    if (freed > 0 && has < expected && isNotable(expected - has, freed))
        return text + " " +
               localized("That is less than was freed. It may be that %@.", reasonsForLess(result));
    if (has > expected && isNotable(has - expected, freed))
        return text + " " +
               localized(
                   "That is more than was freed: other programs freed space meanwhile, or a tool removed "
                   "more than it said.");
    return text;
}

std::size_t countOfGone(const Receipt& receipt) {
    return static_cast<std::size_t>(std::ranges::count_if(receipt.entries, &ReceiptEntry::isFreeing));
}

std::string summaryText(const CleanOutcome& outcome) {
    const std::vector<ReceiptEntry>& entries = outcome.receipt.entries;
    const std::size_t gone = countOfGone(outcome.receipt);
    const auto others = std::ssize(entries) - std::ranges::count_if(entries, &ReceiptEntry::isAllGone);
    return counted(outcome.receipt.wasDryRun ? "count.itemsWouldGo" : "count.itemsCleaned", gone) + ", " +
           ByteFormat::count(others) +
           (outcome.isRecorded ? localized(" refused or failed. Recorded in History.")
                               : localized(" refused or failed. History could not be saved."));
}

Json leftAloneJson(const std::vector<ItemLeftAlone>& items) {
    Json list = Json::array();
    for (const ItemLeftAlone& each : items)
        list.push_back({{"itemID", jsonText(each.id)}, {"reason", jsonText(each.reason)}});
    return list;
}

Json availableOf(const std::optional<VolumeCapacity>& volume) {
    return volume ? Json(volume->availableBytes) : Json(nullptr);
}

}  // namespace

std::string choiceText(const std::vector<CleanupItem>& items, const AgeText& age, const Look& look) {
    TextTable table(
        {"", localized("Size"), localized("Judgement"), localized("Modified"), localized("Item")});
    for (std::size_t index = 0; index < items.size(); ++index) {
        const CleanupItem& item = items[index];
        const auto modified = item.measurement.newestModified;
        table.add({ByteFormat::count(static_cast<std::int64_t>(index + 1)),
                   shortSizeText(item.measurement, look), displayName(item.classification),
                   modified ? age(modified) : "",
                   spelled(printable(item.title()), look.glyphs) + "  " + printable(item.id)});
    }
    return table.text(look);
}

std::string intentText(const std::vector<CleanupItem>& items, const Look& look) {
    std::string text;
    for (const CleanupItem& item : items) text += itemIntent(item, look);
    return text + sumText(items, look);
}

std::string leftAloneText(const std::vector<ItemLeftAlone>& items, const Look& look) {
    std::string text;
    for (const ItemLeftAlone& item : items) {
        text += headLine("", localized("left alone") + ": " + item.title, item.id, look);
        text += linesOf(item.reason, 4, look);
    }
    return text;
}

std::string passedOverText(const CleanSelection& selection, const Look& look) {
    std::string text;
    if (selection.reviewCount > 0) {
        text += paragraphText(counted("count.itemsToReview", selection.reviewCount) + " " +
                                  localized("Name what you want, or give --include-review."),
                              0, look);
    }
    if (selection.undatedCount > 0)
        text += paragraphText(counted("count.itemsUndated", selection.undatedCount), 0, look);
    return text;
}

std::string outcomeText(const CleanResult& result, const Look& look) {
    const Receipt& receipt = result.outcome.receipt;
    std::string text;
    for (const ReceiptEntry& entry : receipt.entries) text += entryText(entry, receipt.wasDryRun, look);
    text += leftAloneText(result.leftAlone, look);
    if (result.outcome.isInterrupted) {
        const std::size_t untouched = result.items.size() - receipt.entries.size();
        std::string sentence = localized("The cleanup was cut short.");
        if (untouched > 0) sentence += " " + counted("count.itemsNotBegun", untouched);
        text += paragraphText(sentence, 0, look);
    }
    text += paragraphText(freedText(receipt), 0, look);
    const std::string volume = volumeText(result);
    if (!volume.empty()) text += paragraphText(volume, 0, look);
    return text + paragraphText(summaryText(result.outcome), 0, look);
}

std::string outcomeJson(const CleanResult& result) {
    const Receipt& receipt = result.outcome.receipt;
    Json json{{"schemaVersion", 1}};
    const SortedJson fields = toSortedJson(receipt);
    for (const auto& [key, value] : fields.items()) json[key] = Json(value);
    json["bytesFreed"] = receipt.bytesFreed();
    json["trashedBytes"] = receipt.trashedBytes();
    json["reclaimedBytes"] = receipt.reclaimedBytes();
    json["availableBefore"] = availableOf(result.outcome.before);
    json["availableAfter"] = availableOf(result.outcome.after);
    json["isRecorded"] = result.outcome.isRecorded;
    json["isInterrupted"] = result.outcome.isInterrupted;
    json["leftAlone"] = leftAloneJson(result.leftAlone);
    return json.dump(2) + "\n";
}

std::string nothingDoneJson(const std::vector<ItemLeftAlone>& leftAlone) {
    const Json json{
        {"schemaVersion", 1}, {"entries", Json::array()}, {"leftAlone", leftAloneJson(leftAlone)}};
    return json.dump(2) + "\n";
}

bool isAllDone(const CleanResult& result) {
    return result.leftAlone.empty() && !result.outcome.isInterrupted &&
           std::ranges::all_of(result.outcome.receipt.entries, &ReceiptEntry::isAllGone);
}

}  // namespace brindle
