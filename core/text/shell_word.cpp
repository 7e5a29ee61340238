#include "core/text/shell_word.h"

#include "core/text/printable.h"

namespace brindle {

std::optional<std::string> shellWord(std::string_view text) {
    constexpr std::string_view kPlain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789._/:@+-";
    if (text.empty() || text.starts_with('-') || printable(text) != text) return std::nullopt;
    if (text.find_first_not_of(kPlain) == std::string_view::npos) return std::string(text);
    std::string word = "'";
    for (const char letter : text) word += letter == '\'' ? std::string("'\\''") : std::string(1, letter);
    return word + "'";
}

std::optional<std::string> commandLineOn(std::string_view command, std::string_view name) {
    const auto word = shellWord(name);
    return word ? std::optional(std::string(command) + " " + *word) : std::nullopt;
}

}  // namespace brindle
