#include "core/model/receipt_json.h"

#include <fmt/format.h>

#include <limits>
#include <set>
#include <utility>

#include "core/model/model_json.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kReadingReceipt = "read a receipt";
constexpr int kDeepestLevel = 32;
// Of one receipt: more than any cleanup has, and some hundred megabytes of memory at the most.
constexpr std::size_t kMostValues = 1'000'000;

std::unexpected<Error> malformedReceipt(std::string_view reason) {
    return std::unexpected(malformedError(kReadingReceipt, "", reason));
}

// Ends a parse. Never leaves this file.
struct Refusal {
    Error error;
};

[[noreturn]] void refuseParse(std::string_view reason) {
    throw Refusal{malformedError(kReadingReceipt, "", reason)};
}

using Event = SortedJson::parse_event_t;

// Looks at every event of a parse before it costs memory.
class ParseWatch {
  public:
    void see(int depth, Event event, const SortedJson& parsed) {
        if (depth > kDeepestLevel) refuseParse("nested too deep");
        if (event == Event::object_start || event == Event::array_start || event == Event::value) {
            if (++values_ > kMostValues) refuseParse("too many values");
        }
        if (event == Event::object_start) keys_.emplace_back();
        if (event == Event::object_end) keys_.pop_back();
        if (event == Event::key && !keys_.back().insert(parsed.get<std::string>()).second) {
            refuseParse(fmt::format("the key \"{}\" stands twice", printable(parsed.get<std::string>())));
        }
    }
    void startOver() { values_ = 0; }

  private:
    std::size_t values_ = 0;
    std::vector<std::set<std::string>> keys_;  // of each object that is open
};

// The parser's own sentences quote what it stumbled over; the place is enough.
std::expected<SortedJson, Error> parsed(std::string_view text,
                                        const SortedJson::parser_callback_t& callback) {
    try {
        return SortedJson::parse(text, callback);
    } catch (const Refusal& refusal) {
        return std::unexpected(refusal.error);
    } catch (const SortedJson::parse_error& error) {
        return malformedReceipt(fmt::format("not JSON, byte {}", error.byte));
    } catch (const SortedJson::exception&) {
        return malformedReceipt("a number is too large");
    }
}

std::optional<std::uint64_t> sumOf(const std::vector<ReceiptEntry>& entries, std::uint64_t sum) {
    for (const ReceiptEntry& entry : entries) {
        if (__builtin_add_overflow(sum, entry.bytes, &sum)) return std::nullopt;
    }
    return sum;
}

SortedJson keptTexts(const std::vector<std::string>& list) {
    SortedJson array = SortedJson::array();
    for (const std::string& text : list) array.push_back(keptText(text));
    return array;
}

std::optional<std::vector<std::string>> textsOf(const SortedJson& json) {
    if (!json.is_array()) return std::nullopt;
    std::vector<std::string> list;
    list.reserve(json.size());
    for (const SortedJson& element : json) {
        if (!element.is_string()) return std::nullopt;
        auto bytes = bytesOfJsonText(element.get_ref<const std::string&>());
        if (!bytes) return std::nullopt;
        list.push_back(*std::move(bytes));
    }
    return list;
}

std::optional<Regeneration> wayBack(RecordReader& record) {
    const SortedJson* json = record.optional("regeneratedBy");
    if (json == nullptr) return std::nullopt;
    const bool isPlain = json->is_object() && json->size() == 1 && json->begin()->is_string();
    if (isPlain) {
        if (auto regeneration = regenerationFromJson(Json(*json))) return *std::move(regeneration);
    }
    record.refuse("regeneratedBy");
    return std::nullopt;
}

SortedJson toSortedJson(const TrashedThing& thing) {
    return {{"from", keptText(thing.from)},
            {"to", keptText(thing.to)},
            {"device", static_cast<std::uint32_t>(thing.device)},
            {"inode", thing.inode},
            {"mode", thing.mode}};
}

std::expected<TrashedThing, Error> trashedThingFromJson(const SortedJson& json) {
    RecordReader record(json);
    TrashedThing thing{
        .from = record.text("from"),
        .to = record.text("to"),
        .device =
            static_cast<std::int32_t>(record.number("device", std::numeric_limits<std::uint32_t>::max())),
        .inode = record.number("inode"),
        .mode = static_cast<std::uint16_t>(record.number("mode", std::numeric_limits<std::uint16_t>::max()))};
    if (!record.isWhole()) return record.error();
    return thing;
}

std::optional<std::vector<TrashedThing>> trashedThings(RecordReader& record) {
    if (record.optional("trashedObjects") == nullptr) return std::nullopt;
    std::vector<TrashedThing> things;
    for (const SortedJson& element : record.list("trashedObjects")) {
        auto thing = trashedThingFromJson(element);
        if (!thing) record.refuse("trashedObjects");
        things.push_back(std::move(thing).value_or(TrashedThing()));
    }
    return things;
}

}  // namespace

RecordReader::RecordReader(const SortedJson& record) : record_(record) {
    if (!record.is_object()) refused_ = malformedError(kReadingReceipt, "", "a record is no object");
}

void RecordReader::refuse(std::string_view key) {
    if (!refused_)
        refused_ = malformedError(kReadingReceipt, "", fmt::format("\"{}\" is missing or wrong", key));
}

const SortedJson* RecordReader::optional(const char* key) const {
    if (!record_.is_object()) return nullptr;
    const auto found = record_.find(key);
    return found == record_.end() || found->is_null() ? nullptr : &*found;
}

const SortedJson& RecordReader::field(const char* key) {
    static const SortedJson kNothing;
    const SortedJson* found = optional(key);
    return found != nullptr ? *found : kNothing;
}

std::string RecordReader::text(const char* key) {
    const SortedJson& json = field(key);
    if (json.is_string()) {
        if (auto bytes = bytesOfJsonText(json.get_ref<const std::string&>())) return *std::move(bytes);
    }
    refuse(key);
    return "";
}

std::optional<std::string> RecordReader::optionalText(const char* key) {
    if (optional(key) == nullptr) return std::nullopt;
    return text(key);
}

std::vector<std::string> RecordReader::texts(const char* key) {
    auto list = textsOf(field(key));
    if (!list) refuse(key);
    return std::move(list).value_or(std::vector<std::string>());
}

std::optional<std::vector<std::string>> RecordReader::optionalTexts(const char* key) {
    if (optional(key) == nullptr) return std::nullopt;
    return texts(key);
}

std::uint64_t RecordReader::number(const char* key, std::uint64_t most) {
    const SortedJson& json = field(key);
    if (json.is_number_unsigned() && json.get<std::uint64_t>() <= most) return json.get<std::uint64_t>();
    refuse(key);
    return 0;
}

bool RecordReader::flag(const char* key) {
    const SortedJson& json = field(key);
    if (!json.is_boolean()) refuse(key);
    return json.is_boolean() && json.get<bool>();
}

TimePoint RecordReader::moment(const char* key) {
    const auto moment = timeFromIso8601(text(key));
    if (!moment) refuse(key);
    return moment.value_or(TimePoint());
}

Uuid RecordReader::uuid(const char* key) {
    const auto uuid = uuidFrom(text(key));
    if (!uuid) refuse(key);
    return uuid.value_or(Uuid());
}

const SortedJson& RecordReader::list(const char* key) {
    static const SortedJson kNone = SortedJson::array();
    const SortedJson& json = field(key);
    if (json.is_array()) return json;
    refuse(key);
    return kNone;
}

std::string keptText(std::string_view bytes) {
    constexpr std::string_view kNul("\0", 1);
    std::string text = jsonText(bytes.substr(0, bytes.find('\0')));
    for (std::size_t at = bytes.find('\0'); at != std::string_view::npos;) {
        const std::size_t next = bytes.find('\0', at + 1);
        text += kNul;
        text += "00";
        text += jsonText(bytes.substr(at + 1, next == std::string_view::npos ? next : next - at - 1));
        at = next;
    }
    return text;
}

SortedJson toSortedJson(const ReceiptEntry& entry) {
    SortedJson json{
        {"itemID", keptText(entry.itemID)},
        {"moduleID", rawText(entry.moduleID)},
        {"title", keptText(entry.title)},
        {"paths", keptTexts(entry.paths)},
        {"bytes", entry.bytes},
        {"method", rawText(entry.method)},
    };
    if (entry.regeneratedBy) {
        json["regeneratedBy"][std::string(rawTextOf(entry.regeneratedBy->kind))] =
            keptText(entry.regeneratedBy->storedText);
    }
    if (entry.note) json["note"] = keptText(*entry.note);
    if (entry.classification) json["classification"] = rawText(*entry.classification);
    if (entry.action) json["action"] = keptText(*entry.action);
    if (entry.pathFailures) json["pathFailures"] = keptTexts(*entry.pathFailures);
    if (entry.trashedPaths) json["trashedPaths"] = keptTexts(*entry.trashedPaths);
    if (entry.trashedObjects) {
        SortedJson things = SortedJson::array();
        for (const TrashedThing& thing : *entry.trashedObjects) things.push_back(toSortedJson(thing));
        json["trashedObjects"] = std::move(things);
    }
    return json;
}

SortedJson toSortedJson(const Receipt& receipt) {
    SortedJson entries = SortedJson::array();
    for (const ReceiptEntry& entry : receipt.entries) entries.push_back(toSortedJson(entry));
    return {{"id", receipt.id.text()},
            {"performedAt", iso8601(receipt.performedAt)},
            {"entries", std::move(entries)},
            {"wasDryRun", receipt.wasDryRun}};
}

std::expected<ReceiptEntry, Error> receiptEntryFromJson(const SortedJson& json) {
    RecordReader record(json);
    ReceiptEntry entry{
        .itemID = record.text("itemID"),
        .moduleID = record.oneOf<ModuleID>("moduleID"),
        .title = record.text("title"),
        .paths = record.texts("paths"),
        .bytes = record.number("bytes"),
        .method = record.oneOf<RemovalMethod>("method"),
        .regeneratedBy = wayBack(record),
        .note = record.optionalText("note"),
        .classification = std::nullopt,
        .action = record.optionalText("action"),
        .pathFailures = record.optionalTexts("pathFailures"),
        .trashedPaths = record.optionalTexts("trashedPaths"),
        .trashedObjects = trashedThings(record),
    };
    if (record.optional("classification") != nullptr) {
        entry.classification = record.oneOf<Classification>("classification");
    }
    if (!record.isWhole()) return record.error();
    return entry;
}

std::expected<Receipt, Error> receiptFromJson(const SortedJson& json) {
    RecordReader record(json);
    Receipt receipt{.id = record.uuid("id"),
                    .performedAt = record.moment("performedAt"),
                    .entries = {},
                    .wasDryRun = record.flag("wasDryRun")};
    for (const SortedJson& element : record.list("entries")) {
        auto entry = receiptEntryFromJson(element);
        if (!entry) return std::unexpected(entry.error());
        receipt.entries.push_back(*std::move(entry));
    }
    if (!record.isWhole()) return record.error();
    if (!sumOf(receipt.entries, 0)) return malformedReceipt("the sizes sum up to more than 64 bits hold");
    return receipt;
}

std::string receiptsText(const std::vector<Receipt>& receipts) {
    SortedJson list = SortedJson::array();
    for (const Receipt& receipt : receipts) list.push_back(toSortedJson(receipt));
    return list.dump(2) + "\n";
}

// Each receipt becomes a record as soon as it ends, and its JSON goes.
std::expected<std::vector<Receipt>, Error> receiptsFromText(std::string_view text) {
    if (text.size() > kReceiptsLimit) return malformedReceipt("too large");
    std::vector<Receipt> receipts;
    std::uint64_t sum = 0;
    ParseWatch watch;
    const auto rest = parsed(text, [&](int depth, Event event, const SortedJson& json) {
        watch.see(depth, event, json);
        if (depth == 0 && event != Event::array_start && event != Event::array_end) refuseParse("not a list");
        if (depth != 1 || event == Event::object_start) return true;
        auto receipt = receiptFromJson(json);
        if (!receipt) throw Refusal{receipt.error()};
        const auto total = sumOf(receipt->entries, sum);
        if (!total) refuseParse("the sizes sum up to more than 64 bits hold");
        sum = *total;
        receipts.push_back(*std::move(receipt));
        watch.startOver();
        return false;
    });
    if (!rest) return std::unexpected(rest.error());
    return receipts;
}

std::expected<SortedJson, Error> boundedJson(std::string_view text) {
    if (text.size() > kReceiptsLimit) return malformedReceipt("too large");
    ParseWatch watch;
    return parsed(text, [&](int depth, Event event, const SortedJson& json) {
        watch.see(depth, event, json);
        return true;
    });
}

}  // namespace brindle
