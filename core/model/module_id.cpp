#include "core/model/module_id.h"

#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::array<std::string_view, allCases<ModuleID>().size()> kDisplayNames = {
    "Xcode",
    "Docker",
    "Node",
    "Python",
    "Android",
    "Homebrew",
    "Editors",
    "Rust",
    "Go",
    "Logs & crash reports",
    "Dormant projects",
    "Developer tools",
    "Uninstalled apps",
    "AI coding tools",
};

}  // namespace

std::string_view sourceName(ModuleID module) {
    return kDisplayNames.at(static_cast<std::size_t>(module));
}

std::string displayName(ModuleID module) {
    return CoreStrings::localized(sourceName(module));
}

}  // namespace brindle
