#include "core/model/model_json.h"

#include <fmt/format.h>

#include <charconv>

#include "core/text/calendar.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::string_view kReadingRecord = "read a record";

std::unexpected<Error> malformedRecord(std::string_view reason) {
    return std::unexpected(malformedError(kReadingRecord, "", reason));
}

Json optionalTime(const std::optional<std::chrono::sys_seconds>& moment) {
    const auto text = moment ? iso8601(*moment) : std::nullopt;
    return text ? Json(*text) : Json(nullptr);
}

// The bytes of a valid UTF-8 sequence at the front, 0 where the first byte begins none.
std::size_t validPrefix(std::string_view bytes) {
    for (std::size_t length = 1; length <= 4 && length <= bytes.size(); ++length) {
        if (isValidUtf8(bytes.substr(0, length))) return length;
    }
    return 0;
}

std::expected<std::string, Error> requiredText(const Json& json, std::string_view key) {
    const auto found = json.is_object() ? json.find(key) : json.end();
    if (found == json.end() || !found->is_string())
        return malformedRecord(fmt::format("\"{}\" is no text", key));
    return bytesOfJsonText(found->get_ref<const std::string&>());
}

}  // namespace

std::string jsonText(std::string_view bytes) {
    if (isValidUtf8(bytes)) return std::string(bytes);
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = validPrefix(bytes);
        if (length > 0) {
            text += bytes.substr(0, length);
        } else {
            text += '\0';
            text += fmt::format("{:02x}", static_cast<unsigned char>(bytes.front()));
        }
        bytes.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return text;
}

std::expected<std::string, Error> bytesOfJsonText(std::string_view text) {
    std::string bytes;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (text[at] != '\0') {
            bytes += text[at];
            continue;
        }
        unsigned char byte = 0;
        const std::string_view digits = text.substr(at + 1, 2);
        const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
        if (digits.size() != 2 || failure != std::errc() || end != digits.data() + 2) {
            return malformedRecord("a byte is not written as two hexadecimal digits");
        }
        bytes += static_cast<char>(byte);
        at += 2;
    }
    return bytes;
}

Json jsonTextOrNull(const std::optional<std::string>& bytes) {
    return bytes ? Json(jsonText(*bytes)) : Json(nullptr);
}

Json jsonTexts(const std::vector<std::string>& list) {
    Json array = Json::array();
    for (const std::string& text : list) array.push_back(jsonText(text));
    return array;
}

Json toJson(const Regeneration& regeneration) {
    return Json{{std::string(rawTextOf(regeneration.kind)), jsonText(regeneration.storedText)}};
}

Json toJson(const Fact& fact) {
    return Json{{"label", jsonText(fact.storedLabel)}, {"value", jsonText(fact.storedValue)}};
}

Json toJson(const Explanation& explanation) {
    Json json;
    json["whatItIs"] = jsonText(explanation.storedWhatItIs);
    json["whatHappensNext"] = jsonText(explanation.storedWhatHappensNext);
    if (explanation.storedWhySuggested) json["whySuggested"] = jsonText(*explanation.storedWhySuggested);
    if (explanation.regeneratedBy) json["regeneratedBy"] = toJson(*explanation.regeneratedBy);
    json["facts"] = Json::array();
    for (const Fact& fact : explanation.facts) json["facts"].push_back(toJson(fact));
    return json;
}

Json toJson(const DirectoryMeasurement& measurement) {
    return Json{
        {"source", rawTextOf(measurement.source)},
        {"allocatedBytes", measurement.allocatedBytes},
        {"logicalBytes", measurement.logicalBytes},
        {"fileCount", measurement.fileCount},
        {"directoryCount", measurement.directoryCount},
        {"newestModified", optionalTime(measurement.newestModified)},
        {"oldestModified", optionalTime(measurement.oldestModified)},
        {"unreadablePaths", jsonTexts(measurement.unreadablePaths)},
        {"otherVolumePaths", jsonTexts(measurement.otherVolumePaths)},
        {"deduplicatedBytes", measurement.deduplicatedBytes},
        {"hardLinkedBytes", measurement.hardLinkedBytes},
        {"isComplete", measurement.isComplete()},
        {"isSparse", measurement.isSparse()},
    };
}

Json toJson(const RemovalStrategy& removal) {
    if (const auto* command = std::get_if<RunCommand>(&removal.how)) {
        return Json{{"runCommand", Json{{"executable", jsonText(command->executable)},
                                        {"arguments", jsonTexts(command->arguments)}}}};
    }
    return Json{{"deletePaths", jsonTexts(removal.affectedPaths())}};
}

Json toJson(const CleanupItem& item) {
    return Json{
        {"id", jsonText(item.id)},
        {"moduleID", rawText(item.moduleID)},
        {"title", jsonText(item.storedTitle)},
        {"detail", jsonText(item.storedDetail)},
        {"bytes", item.bytes()},
        {"classification", rawText(item.classification)},
        {"measurement", toJson(item.measurement)},
        {"explanation", toJson(item.explanation)},
        {"removal", toJson(item.removal)},
        {"projectPath", jsonTextOrNull(item.projectPath)},
        {"clears", jsonTextOrNull(item.clears)},
    };
}

Json toJson(const StorageCategory& category) {
    return Json{
        {"kind", category.id()},
        {"bytes", category.bytes},
        {"isMeasured", category.isMeasured},
        {"blockedReason", jsonTextOrNull(category.storedBlockedReason)},
    };
}

Json toJson(const UnreachableLocation& location) {
    return Json{
        {"path", jsonText(location.path)},
        {"reason", rawText(location.reason)},
        {"remedy", jsonText(location.storedRemedy)},
    };
}

Json toJson(const DiskInfo& disk) {
    return Json{
        {"volumeName", jsonText(disk.volumeName)},
        {"totalBytes", disk.totalBytes},
        {"freeBytes", disk.freeBytes},
        {"usedBytes", disk.usedBytes()},
    };
}

std::expected<Regeneration, Error> regenerationFromJson(const Json& json) {
    if (!json.is_object() || json.size() != 1) return malformedRecord("a way back is no object of one key");
    const auto kind = fromRawText<Regeneration::Kind>(json.begin().key());
    if (!kind) return malformedRecord(fmt::format("\"{}\" is no way back", json.begin().key()));
    auto text = requiredText(json, json.begin().key());
    if (!text) return std::unexpected(text.error());
    return Regeneration{*kind, std::move(*text)};
}

std::expected<Fact, Error> factFromJson(const Json& json) {
    auto label = requiredText(json, "label");
    auto value = requiredText(json, "value");
    if (!label) return std::unexpected(label.error());
    if (!value) return std::unexpected(value.error());
    return Fact{std::move(*label), std::move(*value)};
}

std::expected<Explanation, Error> explanationFromJson(const Json& json) {
    auto whatItIs = requiredText(json, "whatItIs");
    if (!whatItIs) return std::unexpected(whatItIs.error());
    auto whatHappensNext = requiredText(json, "whatHappensNext");
    if (!whatHappensNext) return std::unexpected(whatHappensNext.error());
    Explanation explanation{std::move(*whatItIs), std::move(*whatHappensNext), {}, {}, {}};
    if (json.contains("whySuggested")) {
        auto why = requiredText(json, "whySuggested");
        if (!why) return std::unexpected(why.error());
        explanation.storedWhySuggested = std::move(*why);
    }
    if (json.contains("regeneratedBy")) {
        auto regeneration = regenerationFromJson(json["regeneratedBy"]);
        if (!regeneration) return std::unexpected(regeneration.error());
        explanation.regeneratedBy = std::move(*regeneration);
    }
    if (!json.contains("facts") || !json["facts"].is_array()) return malformedRecord("\"facts\" is no list");
    for (const Json& entry : json["facts"]) {
        auto fact = factFromJson(entry);
        if (!fact) return std::unexpected(fact.error());
        explanation.facts.push_back(std::move(*fact));
    }
    return explanation;
}

}  // namespace brindle
