// Who found it: the identity under which a module reports, as it is persisted and as it is shown.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/model/raw_text.h"

namespace brindle {

// In the order in which modules are listed by identity. Several modules may share one.
enum class ModuleID {
    xcode,
    docker,
    node,
    python,
    android,
    homebrew,
    ide,
    rust,
    go,
    system,
    projects,
    tools,
    leftovers,
    ai,
};

template <>
struct RawTexts<ModuleID> {
    static constexpr std::array<std::string_view, 14> kTexts = {
        "xcode", "docker", "node",   "python",   "android", "homebrew",  "ide",
        "rust",  "go",     "system", "projects", "tools",   "leftovers", "ai",
    };
};

constexpr std::string_view rawText(ModuleID module) {
    return rawTextOf(module);
}
constexpr std::optional<ModuleID> moduleIDFrom(std::string_view text) {
    return fromRawText<ModuleID>(text);
}

// "Editors" for `ide`, in English.
std::string_view sourceName(ModuleID module);

// The same, localised at every call.
std::string displayName(ModuleID module);

}  // namespace brindle
