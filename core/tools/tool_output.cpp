#include "core/tools/tool_output.h"

#include <algorithm>

#include "core/text/ascii.h"

// Matched by hand: std::regex recurses once a character, and a tool may print a line of megabytes.

namespace brindle {

namespace {

bool isWordCharacter(char c) {
    return isAsciiLetterOrDigit(c) || c == '_';
}

std::string_view trimmedStart(std::string_view text) {
    return text.substr(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
}

bool startsWithWord(std::string_view text, std::string_view word) {
    return text.starts_with(word) && (text.size() == word.size() || !isWordCharacter(text[word.size()]));
}

// What follows "npm" and white space; absent when the line begins otherwise.
std::optional<std::string_view> afterNpm(std::string_view line) {
    constexpr std::string_view kName = "npm";
    if (!line.starts_with(kName)) return std::nullopt;
    const std::string_view rest = line.substr(kName.size());
    const std::string_view text = trimmedStart(rest);
    if (text.size() == rest.size()) return std::nullopt;
    return text;
}

}  // namespace

bool isErrorLine(std::string_view line) {
    const auto npm = afterNpm(line);
    if (npm && npm->starts_with("ERR!")) return true;
    const std::string_view text = npm.value_or(line);
    return startsWithWord(text, "error") || startsWithWord(text, "fatal");
}

bool isWarningLine(std::string_view line) {
    const std::string_view text = afterNpm(line).value_or(line);
    return startsWithWord(text, "warn") || startsWithWord(text, "warning");
}

std::optional<std::string_view> reclaimedSpace(std::string_view output) {
    constexpr std::string_view kLabel = "reclaimed space:";
    const std::size_t label = output.find(kLabel);
    if (label == std::string_view::npos) return std::nullopt;
    const std::string_view rest = output.substr(label + kLabel.size());
    return trimmed(rest.substr(0, rest.find('\n')));
}

bool isNothingReclaimed(std::string_view amount) {
    if (!amount.starts_with('0')) return false;
    amount.remove_prefix(1);
    if (amount.starts_with('.')) {
        const std::size_t zeros = std::min(amount.find_first_not_of('0', 1), amount.size());
        if (zeros == 1) return false;
        amount.remove_prefix(zeros);
    }
    const std::string_view unit = trimmedStart(amount);
    return std::ranges::all_of(unit, isAsciiLetter);
}

}  // namespace brindle
