// brindle history
#include "cli/command.h"
#include "cli/history_page.h"
#include "cli/receipt_lookup.h"
#include "cli/schedule_page.h"
#include "core/model/model_json.h"
#include "core/model/receipt_json.h"
#include "core/platform/file_status.h"
#include "core/removal/put_back.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// As it is stored, but for the two lists of the Trash: they become one, with how things are now.
Json entryJson(const ReceiptEntry& entry) {
    Json json(toSortedJson(entry));
    json.erase("trashedPaths");
    json.erase("trashedObjects");
    json["trashed"] = Json::array();
    for (const PlaceInTrash& place : placesInTrash(entry)) {
        const bool isThere = statusOf(place.path).has_value();
        json["trashed"].push_back({{"path", jsonText(place.path)},
                                   {"from", place.from.empty() ? Json(nullptr) : Json(jsonText(place.from))},
                                   {"isThere", isThere},
                                   {"canBePutBack", isThere && !place.from.empty()}});
    }
    return json;
}

Json receiptJson(const Receipt& receipt) {
    Json entries = Json::array();
    for (const ReceiptEntry& entry : receipt.entries) entries.push_back(entryJson(entry));
    return {{"id", receipt.id.text()},
            {"performedAt", iso8601(receipt.performedAt)},
            {"wasDryRun", receipt.wasDryRun},
            {"bytesFreed", receipt.bytesFreed()},
            {"trashedBytes", receipt.trashedBytes()},
            {"reclaimedBytes", receipt.reclaimedBytes()},
            {"entries", std::move(entries)}};
}

std::string listJson(const std::vector<Receipt>& receipts, const std::vector<ScheduledRun>& runs) {
    Json list = Json::array();
    for (const Receipt& receipt : receipts) list.push_back(receiptJson(receipt));
    return Json{{"schemaVersion", 1}, {"cleanups", std::move(list)}, {"scheduledRuns", runsJson(runs)}}.dump(
               2) +
           "\n";
}

std::string oneJson(const Receipt& receipt) {
    Json json{{"schemaVersion", 1}};
    json.update(receiptJson(receipt));
    return json.dump(2) + "\n";
}

}  // namespace

std::expected<std::vector<Receipt>, Outcome> readableHistory(const CommandContext& context) {
    auto receipts = context.session.history().loadChecked();
    if (receipts) return *std::move(receipts);
    complain(context.streams,
             localized("Cleanup history could not be read. The original file has been preserved; "
                       "repair or restore it before further cleaning."));
    complain(context.streams, receipts.error().cause.describe());
    return std::unexpected(Outcome{ExitCode::kHistoryUnreadable, ""});
}

Outcome runHistory(const CommandContext& context) {
    const auto receipts = readableHistory(context);
    if (!receipts) return receipts.error();
    const HistorySetting setting{context.session.home(), context.look, context.session.scheduleLog().runs()};
    const bool isJson = context.options.isJson;
    if (context.options.subject.empty()) {
        return {ExitCode::success,
                isJson ? listJson(*receipts, setting.runs) : historyList(*receipts, setting)};
    }
    const auto index = receiptNamed(context.options.subject, *receipts);
    if (!index) {
        complain(context.streams, index.error());
        return {ExitCode::notFound, ""};
    }
    const Receipt& receipt = (*receipts)[*index];
    if (isJson) return {ExitCode::success, oneJson(receipt)};
    return {ExitCode::success, historyPage(receipt, shortIdentity(receipt, *receipts), setting)};
}

}  // namespace brindle
