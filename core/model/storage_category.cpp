#include "core/model/storage_category.h"

#include "core/text/core_strings.h"

namespace brindle {

namespace {

struct Texts {
    std::string_view name;
    std::string_view detail;
};

constexpr std::array<Texts, RawTexts<StorageCategory::Kind>::kTexts.size()> kTexts = {{
    {"Developer data", "Caches, builds, images and dependencies"},
    {"Applications", "Installed apps"},
    {"Documents & downloads", "Your documents, desktop and downloads"},
    {"Everything else", "System files and anything Brindle does not measure"},
    {"Free", "What macOS reports as available right now"},
}};

const Texts& textsOf(StorageCategory::Kind kind) {
    return kTexts.at(static_cast<std::size_t>(kind));
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
