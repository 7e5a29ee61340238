#include "core/platform/user_defaults.h"

namespace brindle {

std::expected<void, Error> UserDefaults::set(std::string_view key, const DefaultsValue& value) {
    return update(key, [&](const auto&) { return std::optional(value); });
}

std::expected<void, Error> UserDefaults::remove(std::string_view key) {
    const auto stored = value(key);
    if (!stored) return std::unexpected(stored.error());
    // Nothing to remove is nothing to write: no folder and no lock appear for it.
    if (!*stored) return {};
    return update(key, [](const auto&) { return std::optional<DefaultsValue>(); });
}

}  // namespace brindle
