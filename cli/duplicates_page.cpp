#include "cli/duplicates_page.h"

#include <algorithm>
#include <map>

#include "cli/display_width.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/model/byte_sum.h"
#include "core/model/model_json.h"
#include "core/text/byte_format.h"
#include "core/text/calendar.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::size_t kMostGroups = 100;
constexpr std::size_t kMostFiles = 20;
constexpr std::size_t kMostSkipped = 8;

std::string counted(const char* key, std::size_t count) {
    return CoreStrings::plural(key, static_cast<std::int64_t>(count));
}

// How many of a list of this length are shown: one more is shown rather than told of.
std::size_t shownOf(std::size_t count, std::size_t most) {
    return count > most + 1 ? most : count;
}

std::string moreText(std::size_t count, std::size_t shown, unsigned indent, const Look& look) {
    if (shown >= count) return "";
    const std::string more = ByteFormat::count(static_cast<std::int64_t>(count - shown));
    return paragraphText(localized("and %@ more (--json shows all)", more), indent, look);
}

std::string fileLine(const DuplicateFile& file, const FoundDuplicates& found, const std::string& home,
                     const Look& look) {
    constexpr unsigned kIndent = 14;
    const std::string path = shownPath(file.path, home);
    const std::string modified = minuteText(file.modified).value_or("");
    const std::string tag = found.mayGo(file) ? localized("can be moved") : localized("inspection only");
    std::string text = std::string(kIndent, ' ') + path + "\n";
    const auto held = found.heldBack.find(file.path);
    const std::string why =
        held == found.heldBack.end() ? "" : std::string(look.glyphs.dot()) + printable(held->second);
    text += paragraphText(tag + std::string(look.glyphs.dot()) + modified + why, kIndent + 2, look);
    return text;
}

std::string groupText(const DuplicateGroup& group, const FoundDuplicates& found, const std::string& home,
                      const Look& look) {
    const std::string each = ByteFormat::shortText(group.bytesEach());
    std::string text =
        padLeft(ByteFormat::shortText(group.wastedBytes()), 12) + "  " +
        look.palette.heading(localized("%@ of %@ each", counted("count.copies", group.files.size()), each)) +
        "\n";
    if (group.sharesStorage())
        text +=
            paragraphText(localized("The copies share their storage: removing one frees nothing."), 14, look);
    const std::size_t shown = shownOf(group.files.size(), kMostFiles);
    for (std::size_t index = 0; index < shown; ++index)
        text += fileLine(group.files[index], found, home, look);
    return text + moreText(group.files.size(), shown, 14, look) + "\n";
}

std::string skippedText(const DuplicateReport& report, const std::string& home, const Look& look) {
    if (report.skipped.empty()) return "";
    std::map<SkippedLocation::Reason, std::vector<const SkippedLocation*>> byReason;
    for (const SkippedLocation& each : report.skipped) byReason[each.reason].push_back(&each);
    std::string text = look.palette.heading(localized("Skipped locations")) + "\n";
    for (const auto& [reason, places] : byReason) {
        text += "  " + look.palette.warning(label(reason)) + "\n";
        const std::size_t shown = shownOf(places.size(), kMostSkipped);
        for (std::size_t index = 0; index < shown; ++index)
            text += "    " + shownPath(places[index]->path, home) + "\n";
        text += moreText(places.size(), shown, 4, look);
    }
    return text + "\n";
}

std::string sumText(const DuplicateReport& report, const Look& look) {
    std::string sum = counted("count.duplicateGroups", report.groups.size()) +
                      std::string(look.glyphs.dot()) +
                      localized("%@ could be free", ByteFormat::shortText(report.wastedBytes()));
    if (report.cancelled) sum += spelled(localized(" · cancelled; partial results"), look.glyphs);
    std::string text = paragraphText(sum, 0, look);
    if (!report.knowsAllOpenFiles)
        text += paragraphText(
            localized("Files that programs of other users hold open are not known to be open."), 0, look);
    return text;
}

// What is the same for most is left out: there may be a million of them.
Json fileJson(const DuplicateFile& file, const FoundDuplicates& found) {
    const auto modified = iso8601(file.modified);
    Json json{{"path", jsonText(file.path)},
              {"modified", modified ? Json(*modified) : Json(nullptr)},
              {"isDeveloperExport", file.isDeveloperExport()},
              {"mayGo", found.mayGo(file)}};
    const auto held = found.heldBack.find(file.path);
    if (held != found.heldBack.end()) json["heldBack"] = jsonText(held->second);
    if (file.storage != 0) json["clone"] = file.storage;
    return json;
}

Json groupJson(const DuplicateGroup& group, const FoundDuplicates& found) {
    Json files = Json::array();
    for (const DuplicateFile& file : group.files) files.push_back(fileJson(file, found));
    return {{"hash", group.hash},
            {"bytesEach", group.bytesEach()},
            {"wastedBytes", group.wastedBytes()},
            {"sharesStorage", group.sharesStorage()},
            {"files", std::move(files)}};
}

// One element at a time: a document of a million files is never held as more than its text.
template <typename List, typename ToJson>
void addArray(std::string& text, const List& list, const ToJson& toJson) {
    text += '[';
    std::string_view before = "\n    ";
    for (const auto& each : list) {
        text.append(before).append(toJson(each).dump());
        before = ",\n    ";
    }
    text += list.empty() ? "]" : "\n  ]";
}

// More than the document takes: what is not written to takes no memory, and growing would take it twice.
std::size_t roomFor(const DuplicateReport& report) {
    constexpr std::size_t kBeside = 256;
    std::size_t room = 1024;
    for (const DuplicateGroup& group : report.groups) {
        room += kBeside;
        for (const DuplicateFile& file : group.files) room += kBeside + file.path.size();
    }
    for (const SkippedLocation& each : report.skipped) room += kBeside + each.path.size();
    return room;
}

}  // namespace

std::string duplicatesText(const FoundDuplicates& found, const std::string& home, const Look& look) {
    const DuplicateReport& report = found.report;
    std::string text;
    const std::size_t shown = shownOf(report.groups.size(), kMostGroups);
    for (std::size_t index = 0; index < shown; ++index)
        text += groupText(report.groups[index], found, home, look);
    text += moreText(report.groups.size(), shown, 0, look);
    return text + skippedText(report, home, look) + sumText(report, look);
}

std::string duplicatesJson(const FoundDuplicates& found) {
    const DuplicateReport& report = found.report;
    const auto location = [](const SkippedLocation& each) {
        return Json{{"path", jsonText(each.path)}, {"reason", rawTextOf(each.reason)}};
    };
    std::string text;
    text.reserve(roomFor(report));
    text += "{\n  \"schemaVersion\": 1";
    const auto add = [&text](std::string_view key, std::string_view value) {
        text.append(",\n  \"").append(key).append("\": ").append(value);
    };
    add("root", Json(jsonText(report.root)).dump());
    add("cancelled", report.cancelled ? "true" : "false");
    add("knowsAllOpenFiles", report.knowsAllOpenFiles ? "true" : "false");
    add("wastedBytes", std::to_string(report.wastedBytes()));
    add("groups", "");
    addArray(text, report.groups, [&](const auto& group) { return groupJson(group, found); });
    add("skipped", "");
    addArray(text, report.skipped, location);
    text += "\n}\n";
    return text;
}

std::string duplicateIntentText(const std::vector<DuplicateChoice>& choices, const Look& look) {
    std::string text;
    std::size_t copies = 0;
    std::uint64_t bytes = 0;
    for (const DuplicateChoice& choice : choices) {
        text += localized("Kept identical copy: %@", printable(choice.kept)) + "\n";
        bytes = addApparentBytes(bytes, choice.bytes);
        for (const std::string& path : choice.moved) {
            text += "  " + localized("Move to Trash: %@", printable(path)) + "\n";
            ++copies;
        }
    }
    const std::string sum =
        localized("%@, %@ together.", counted("count.copiesToMove", copies), ByteFormat::shortText(bytes));
    if (bytes == 0) return text + paragraphText(sum, 0, look);
    const std::string promise =
        localized("They are compared again, and one copy always stays. Empty the Trash to free the space.");
    return text + paragraphText(sum + " " + promise, 0, look);
}

std::string trashedDuplicatesText(const CleanOutcome& outcome, const Look& look) {
    const std::vector<ReceiptEntry>& entries = outcome.receipt.entries;
    const auto moved = std::ranges::count_if(entries, &ReceiptEntry::isFreeing);
    std::string text;
    for (const ReceiptEntry& entry : entries) {
        if (entry.isAllGone()) continue;
        text += printable(entry.paths.empty() ? entry.title : entry.paths.front()) + "\n";
        for (const std::string& failure : entry.pathFailures.value_or(std::vector<std::string>()))
            text += look.palette.warning(paragraphText(printable(failure), 2, look));
        if (entry.note) text += look.palette.warning(paragraphText(printable(*entry.note), 2, look));
    }
    const std::string recorded = outcome.isRecorded
                                     ? localized(" refused or failed. Recorded in History.")
                                     : localized(" refused or failed. History could not be saved.");
    const auto others = static_cast<std::int64_t>(entries.size()) - moved;
    text += paragraphText(ByteFormat::count(moved) + localized(" copies moved to Trash;") + " " +
                              ByteFormat::count(others) + recorded,
                          0, look);
    if (outcome.isInterrupted) text += paragraphText(localized("The cleanup was cut short."), 0, look);
    return moved == 0 ? text : text + paragraphText(localized("Empty the Trash to free the space."), 0, look);
}

}  // namespace brindle
