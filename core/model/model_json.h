// The JSON forms of the model's records. Texts are their English sources, never translations.
//
// Paths and names are bytes, JSON is Unicode: a byte that is no part of valid UTF-8 is written as U+0000
// followed by its two lower-case hexadecimal digits. No path holds a NUL, so the form is unambiguous and
// loses nothing.
#pragma once

#include <expected>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/cleanup_item.h"
#include "core/model/disk_info.h"
#include "core/model/storage_category.h"
#include "core/model/unreachable_location.h"
#include "core/platform/error.h"

namespace brindle {

using Json = nlohmann::ordered_json;

// Any bytes as JSON text, and back. Decoding fails only on a U+0000 that two hexadecimal digits do not
// follow.
std::string jsonText(std::string_view bytes);
std::expected<std::string, Error> bytesOfJsonText(std::string_view text);

Json jsonTextOrNull(const std::optional<std::string>& bytes);
Json jsonTexts(const std::vector<std::string>& list);

Json toJson(const Regeneration& regeneration);  // {"command": "cargo build"}
Json toJson(const Fact& fact);                  // {"label", "value"}
Json toJson(const Explanation& explanation);    // absent texts are left out, "facts" is always there
Json toJson(
    const DirectoryMeasurement& measurement);  // every field, isComplete, isSparse; absent dates are null
Json toJson(const RemovalStrategy& removal);   // {"deletePaths": […]} or {"runCommand": {…}}
Json toJson(const CleanupItem& item);
Json toJson(const StorageCategory& category);
Json toJson(const UnreachableLocation& location);
Json toJson(const DiskInfo& disk);

// Missing required keys, other types and unknown raw texts fail; unknown keys are ignored.
std::expected<Regeneration, Error> regenerationFromJson(const Json& json);
std::expected<Fact, Error> factFromJson(const Json& json);
std::expected<Explanation, Error> explanationFromJson(const Json& json);

}  // namespace brindle
