#include <algorithm>
#include <cmath>
#include <cstddef>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "core/platform/base64.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/platform/user_defaults.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// Keeps the order of the keys: a person's file stays as the person arranged it.
using Json = nlohmann::ordered_json;

constexpr const char* kDate = "date";
constexpr const char* kData = "data";

// The text under the only key of an object, as dates and data are written.
std::optional<std::string> taggedText(const Json& json, const char* tag) {
    if (!json.is_object() || json.size() != 1 || !json.contains(tag) || !json[tag].is_string())
        return std::nullopt;
    return json[tag].get<std::string>();
}

std::optional<std::string> taggedData(const Json& json) {
    const auto text = taggedText(json, kData);
    return text ? bytesFromBase64(*text) : std::nullopt;
}

DefaultsValue listFrom(const Json& json) {
    std::vector<std::string> list;
    for (const Json& entry : json) {
        const auto bytes = entry.is_string() ? std::optional(entry.get<std::string>()) : taggedData(entry);
        if (!bytes) return std::monostate();
        list.push_back(*bytes);
    }
    return list;
}

DefaultsValue objectFrom(const Json& json) {
    if (const auto bytes = taggedData(json)) return DefaultsData{*bytes};
    if (const auto text = taggedText(json, kDate)) {
        if (const auto moment = timeFromIso8601(*text)) return *moment;
    }
    return std::monostate();
}

DefaultsValue valueFrom(const Json& json) {
    if (json.is_boolean()) return json.get<bool>();
    if (json.is_number_unsigned()) return json.get<std::uint64_t>();
    if (json.is_number()) return json.get<double>();
    if (json.is_string()) return json.get<std::string>();
    if (json.is_array()) return listFrom(json);
    if (json.is_object()) return objectFrom(json);
    return std::monostate();
}

Json tagged(const char* tag, std::string text) {
    Json json = Json::object();
    json[tag] = std::move(text);
    return json;
}

// Absent for what the format cannot hold, so that nothing is written that would read back as something else.
struct JsonWriter {
    using Written = std::optional<Json>;

    Written operator()(bool value) const { return Json(value); }
    Written operator()(std::uint64_t value) const { return Json(value); }
    Written operator()(double value) const {
        return std::isfinite(value) ? Written(Json(value)) : std::nullopt;
    }
    Written operator()(const std::string& value) const {
        return isValidUtf8(value) ? Written(Json(value)) : std::nullopt;
    }
    Written operator()(const std::vector<std::string>& list) const {
        Json json = Json::array();
        for (const auto& entry : list) {
            json.push_back(isValidUtf8(entry) ? Json(entry) : tagged(kData, base64(entry)));
        }
        return json;
    }
    Written operator()(TimePoint value) const { return tagged(kDate, iso8601(value)); }
    Written operator()(const DefaultsData& value) const { return tagged(kData, base64(value.bytes)); }
    Written operator()(std::monostate) const { return std::nullopt; }
};

Error unreadable(const std::string& path, std::string_view reason) {
    return malformedError("read the preferences", path, reason);
}

// Writing a value out again recurses once for each level.
constexpr int kDeepestLevel = 100;

// Of two entries under one key the parser would keep one, and the next write would lose the other for good.
class DuplicateWatch {
  public:
    bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
        if (event == Json::parse_event_t::key && depth == 1 &&
            !keys_.insert(parsed.get<std::string>()).second) {
            duplicate_ = parsed.get<std::string>();
        }
        if (depth > kDeepestLevel) isTooDeep_ = true;
        return !isTooDeep_;
    }
    bool isTooDeep() const { return isTooDeep_; }
    const std::optional<std::string>& duplicate() const { return duplicate_; }

  private:
    std::set<std::string> keys_;
    std::optional<std::string> duplicate_;
    bool isTooDeep_ = false;
};

std::expected<Json, Error> documentFrom(const std::string& text, const std::string& path) {
    try {
        DuplicateWatch watch;
        Json document = Json::parse(text, [&](int depth, Json::parse_event_t event, const Json& parsed) {
            return watch(depth, event, parsed);
        });
        if (watch.isTooDeep()) return std::unexpected(unreadable(path, "nested too deep"));
        if (!document.is_object()) return std::unexpected(unreadable(path, "not a JSON object"));
        if (watch.duplicate()) {
            return std::unexpected(
                unreadable(path, "the key " + printable(*watch.duplicate()) + " stands twice"));
        }
        return document;
    } catch (const Json::parse_error& error) {
        // The parser counts from 1, and the byte it stumbled over may itself be a line feed.
        const std::size_t before = std::min(std::max<std::size_t>(error.byte, 1) - 1, text.size());
        const auto line = 1 + std::ranges::count(std::string_view(text).substr(0, before), '\n');
        return std::unexpected(unreadable(path, "not JSON, line " + std::to_string(line)));
    } catch (const Json::exception&) {
        return std::unexpected(unreadable(path, "a number is too large"));
    }
}

class FileDefaults final : public UserDefaults {
  public:
    explicit FileDefaults(std::string path) : path_(std::move(path)) {}

    std::expected<std::optional<DefaultsValue>, Error> value(std::string_view key) const override {
        const auto document = read();
        if (!document) return std::unexpected(document.error());
        return valueIn(*document, key);
    }

    std::expected<void, Error> update(std::string_view key, const Change& change) override {
        const auto lock = FileLock::acquire(path_ + ".lock");
        if (!lock) return std::unexpected(lock.error());
        removeAbandonedFiles(folderOf(path_));
        auto document = read();
        if (!document) return std::unexpected(document.error());
        const auto stored = valueIn(*document, key);
        const auto changed = change(stored);
        if (!changed) return std::unexpected(changed.error());
        if (*changed == stored) return {};
        if (auto put = putInto(*document, key, *changed); !put) return put;
        return writeFileAtomically(path_, document->dump(2) + "\n");
    }

    std::string location() const override { return path_; }

  private:
    std::expected<Json, Error> read() const {
        const auto text = readFile(path_);
        if (text) return documentFrom(*text, path_);
        if (text.error().kind == Error::Kind::missing) return Json::object();
        return std::unexpected(text.error());
    }

    static std::optional<DefaultsValue> valueIn(const Json& document, std::string_view key) {
        const auto entry = document.find(std::string(key));
        if (entry == document.end()) return std::nullopt;
        return valueFrom(*entry);
    }

    std::expected<void, Error> putInto(Json& document, std::string_view key,
                                       const std::optional<DefaultsValue>& value) const {
        if (!value) {
            document.erase(std::string(key));
            return {};
        }
        auto json = std::visit(JsonWriter(), *value);
        if (!json || !isValidUtf8(key)) {
            return std::unexpected(
                malformedError("write the preferences", path_, "not text or not a number"));
        }
        document[std::string(key)] = *std::move(json);
        return {};
    }

    std::string path_;
};

}  // namespace

std::shared_ptr<UserDefaults> fileDefaults(std::string path) {
    return std::make_shared<FileDefaults>(std::move(path));
}

}  // namespace brindle
