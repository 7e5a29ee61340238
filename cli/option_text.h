// What is typed, on its way through CLI11 and back.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace brindle {

// CLI11 takes some texts for syntax of its own; a zero byte before them, which no argument can hold, keeps it from that.
inline std::string unguarded(std::string text) {
    if (text.starts_with('\0')) text.erase(0, 1);
    return text;
}

inline std::optional<std::string> given(const std::string& text, const CLI::Option* option) {
    if (option->count() == 0) return std::nullopt;
    return unguarded(text);
}

// "--json=3" is a mistake, not a yes.
inline void addFlag(CLI::App& command, const std::string& name, bool& target,
                    const std::string& description) {
    command.add_flag(name, target, description)->disable_flag_override();
}

}  // namespace brindle
