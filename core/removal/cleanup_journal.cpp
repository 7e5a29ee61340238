#include "core/removal/cleanup_journal.h"

#include <limits>
#include <utility>

#include "core/model/receipt_json.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"

namespace brindle {

namespace {

constexpr std::string_view kReading = "read the cleanup journal";
constexpr std::uint64_t kVersion = 1;
// The intent and, once more, every entry of it with what became of it.
constexpr std::uint64_t kJournalLimit = 4 * kReceiptsLimit;

std::unexpected<Error> malformed(std::string_view reason) {
    return std::unexpected(malformedError(kReading, "", reason));
}

RemovalMethod plannedMethod(const CleanupItem& item) {
    if (item.removal.isCommand()) return RemovalMethod::command;
    switch (item.classification) {
        case Classification::safe:
            return RemovalMethod::deleted;
        case Classification::review:
            return RemovalMethod::trashed;
        case Classification::protected_:
            return RemovalMethod::refused;
    }
    return RemovalMethod::refused;
}

SortedJson identityJson(const std::string& path, const PathIdentity& identity) {
    return {{"path", keptText(path)},
            {"device", static_cast<std::uint32_t>(identity.device)},
            {"inode", identity.inode},
            {"mode", identity.mode}};
}

SortedJson itemJson(const PlannedItem& item) {
    SortedJson identities = SortedJson::array();
    for (const auto& [path, identity] : item.identities) identities.push_back(identityJson(path, identity));
    return {{"entry", toSortedJson(item.entry)}, {"identities", std::move(identities)}};
}

std::string intentLine(const CleanupIntent& intent) {
    SortedJson items = SortedJson::array();
    for (const PlannedItem& item : intent.items) items.push_back(itemJson(item));
    return SortedJson{{"version", kVersion},
                      {"id", intent.id.text()},
                      {"performedAt", iso8601(intent.performedAt)},
                      {"items", std::move(items)}}
        .dump();
}

std::string finishedLine(const ReceiptEntry& entry) {
    SortedJson line;
    line["finished"] = toSortedJson(entry);
    return line.dump();
}

std::expected<PlannedItem, Error> itemFrom(const SortedJson& json) {
    RecordReader record(json);
    const SortedJson* entryJson = record.optional("entry");
    auto entry = receiptEntryFromJson(entryJson != nullptr ? *entryJson : SortedJson());
    if (!entry) return std::unexpected(entry.error());
    PlannedItem item{*std::move(entry), {}};
    for (const SortedJson& element : record.list("identities")) {
        RecordReader fields(element);
        std::string path = fields.text("path");
        const PathIdentity identity{
            static_cast<std::int32_t>(fields.number("device", std::numeric_limits<std::uint32_t>::max())),
            fields.number("inode"),
            static_cast<std::uint16_t>(fields.number("mode", std::numeric_limits<std::uint16_t>::max()))};
        if (!fields.isWhole()) return fields.error();
        item.identities.emplace(std::move(path), identity);
    }
    if (!record.isWhole()) return record.error();
    return item;
}

std::expected<CleanupIntent, Error> intentFrom(std::string_view line) {
    const auto json = boundedJson(line);
    if (!json) return std::unexpected(json.error());
    RecordReader record(*json);
    if (record.number("version") != kVersion) record.refuse("version");
    CleanupIntent intent{record.uuid("id"), record.moment("performedAt"), {}};
    for (const SortedJson& element : record.list("items")) {
        auto item = itemFrom(element);
        if (!item) return std::unexpected(item.error());
        intent.items.push_back(*std::move(item));
    }
    if (!record.isWhole()) return record.error();
    return intent;
}

std::expected<ReceiptEntry, Error> finishedFrom(std::string_view line) {
    const auto json = boundedJson(line);
    if (!json) return std::unexpected(json.error());
    const SortedJson* entry = RecordReader(*json).optional("finished");
    return receiptEntryFromJson(entry != nullptr ? *entry : SortedJson());
}

// The whole lines. What a power cut leaves of the last is short of its end, or zeros where bytes never reached the
// disk.
std::string_view withoutTornEnd(std::string_view text) {
    text = text.substr(0, text.rfind('\n') + 1);
    if (text.empty()) return text;
    const std::size_t before = text.rfind('\n', text.size() - 2);
    const std::size_t start = text.size() < 2 || before == std::string_view::npos ? 0 : before + 1;
    return text.substr(start).contains('\0') ? text.substr(0, start) : text;
}

std::string_view takeLine(std::string_view& text) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size() + 1);
    return line;
}

}  // namespace

PlannedItem plannedItem(const CleanupItem& item) {
    ReceiptEntry entry{.itemID = item.id,
                       .moduleID = item.moduleID,
                       .title = item.storedTitle,
                       .paths = item.removal.affectedPaths(),
                       .bytes = item.bytes(),
                       .method = plannedMethod(item),
                       .regeneratedBy = item.explanation.regeneratedBy,
                       .note = {},
                       .classification = item.classification,
                       .action = {},
                       .pathFailures = {},
                       .trashedPaths = {}};
    return {std::move(entry), item.pathIdentities};
}

std::string journalPath(const std::string& directory) {
    return directory + "/cleanup-journal.jsonl";
}

std::expected<CleanupJournal, Error> CleanupJournal::begin(const std::string& directory,
                                                           const CleanupIntent& intent) {
    const std::string line = intentLine(intent);
    if (auto readable = intentFrom(line); !readable) return std::unexpected(readable.error());
    if (auto made = createFolders(directory, 0700); !made) return std::unexpected(made.error());
    auto file = AppendingFile::create(journalPath(directory), line);
    if (!file) return std::unexpected(file.error());
    return CleanupJournal(journalPath(directory), *std::move(file));
}

std::expected<void, Error> CleanupJournal::record(const ReceiptEntry& entry) {
    return file_.append(finishedLine(entry));
}

std::expected<void, Error> CleanupJournal::finish() {
    return removeFileSynced(path_);
}

std::expected<void, Error> removeJournal(const std::string& directory) {
    return removeFileSynced(journalPath(directory));
}

std::expected<std::optional<JournalContent>, Error> readJournal(const std::string& directory) {
    const std::string path = journalPath(directory);
    const auto text = readFile(path, kJournalLimit);
    if (!text && text.error().kind == Error::Kind::missing && !statusOf(path)) return std::nullopt;
    if (!text) return std::unexpected(text.error());
    auto content = journalFromText(*text);
    if (content) return *std::move(content);
    Error error = content.error();
    error.path = path;
    return std::unexpected(std::move(error));
}

std::expected<JournalContent, Error> journalFromText(std::string_view text) {
    text = withoutTornEnd(text);
    JournalContent content;
    if (text.empty()) return content;
    auto intent = intentFrom(takeLine(text));
    if (!intent) return std::unexpected(intent.error());
    while (!text.empty()) {
        auto entry = finishedFrom(takeLine(text));
        if (!entry) return std::unexpected(entry.error());
        const std::size_t index = content.finished.size();
        if (index >= intent->items.size() || entry->itemID != intent->items[index].entry.itemID) {
            return malformed("an item is finished that was not planned next");
        }
        content.finished.push_back(*std::move(entry));
    }
    content.intent = *std::move(intent);
    return content;
}

}  // namespace brindle
