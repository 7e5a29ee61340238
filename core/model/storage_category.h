// One slice of the whole volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

struct StorageCategory {
    enum class Kind { developer, applications, documents, other, free };

    Kind kind = Kind::other;
    std::uint64_t bytes = 0;
    bool isMeasured = false;
    std::optional<std::string> storedBlockedReason;  // why it could not be measured; English source

    bool operator==(const StorageCategory&) const = default;

    std::string_view id() const;  // the kind's raw text
    std::optional<std::string> blockedReason() const;
};

template <>
struct RawTexts<StorageCategory::Kind> {
    static constexpr std::array<std::string_view, 5> kTexts = {"developer", "applications", "documents",
                                                               "other", "free"};
};

constexpr std::string_view rawText(StorageCategory::Kind kind) {
    return rawTextOf(kind);
}
constexpr std::optional<StorageCategory::Kind> storageKindFrom(std::string_view text) {
    return fromRawText<StorageCategory::Kind>(text);
}
std::string displayName(StorageCategory::Kind kind);
std::string detail(StorageCategory::Kind kind);

}  // namespace brindle
