// Words of the command line on their way into options.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

namespace brindle {

// Without the zero byte that kept the parser from reading more into it.
inline std::string unguarded(std::string text) {
    if (text.starts_with('\0')) text.erase(0, 1);
    return text;
}

// Absent when the option was not on the command line.
inline std::optional<std::string> given(const std::string& text, const CLI::Option* option) {
    if (option->count() == 0) return std::nullopt;
    return unguarded(text);
}

}  // namespace brindle
