#include "core/text/shell_word.h"

#include "core/text/printable.h"

namespace brindle {

std::optional<std::string> shellArgument(std::string_view text) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_@%+=:,./-";
    if (text.empty() || printable(text) != text) return std::nullopt;
    // zsh takes "=name" for the path of a program.
    if (!text.starts_with('=') && text.find_first_not_of(kPlain) == std::string_view::npos)
        return std::string(text);
    std::string word = "'";
    for (const char letter : text) word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return word + "'";
}

std::optional<std::string> shellWord(std::string_view text) {
    if (text.starts_with('-')) return std::nullopt;
    return shellArgument(text);
}

std::optional<std::string> commandLineOn(std::string_view command, std::string_view name) {
    const auto word = shellWord(name);
    return word ? std::optional(std::string(command) + " " + *word) : std::nullopt;
}

}  // namespace brindle
