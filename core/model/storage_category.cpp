#include "core/model/storage_category.h"

#include "core/text/core_strings.h"

namespace brindle {

namespace {

struct CategoryTexts {
    std::string_view name;
    std::string_view detail;
};

constexpr std::array<CategoryTexts, RawTexts<StorageCategory::Kind>::kTexts.size()> kCategoryTexts = {{
    {"Developer data", "Caches, builds, images and dependencies"},
    {"Applications", "Installed apps"},
    {"Documents & downloads", "Your documents, desktop and downloads"},
    {"Everything else", "System files and anything Brindle does not measure"},
    {"Free", "What macOS reports as available right now"},
}};

const CategoryTexts& textsOf(StorageCategory::Kind kind) {
    return kCategoryTexts.at(static_cast<std::size_t>(kind));
}

}  // namespace

std::string_view StorageCategory::id() const {
    return rawText(kind);
}

std::optional<std::string> StorageCategory::blockedReason() const {
    if (!storedBlockedReason) return std::nullopt;
    return CoreStrings::localized(*storedBlockedReason);
}

std::string displayName(StorageCategory::Kind kind) {
    return CoreStrings::localized(textsOf(kind).name);
}

std::string detail(StorageCategory::Kind kind) {
    return CoreStrings::localized(textsOf(kind).detail);
}

}  // namespace brindle
