#include "core/removal/tool_report.h"

#include <algorithm>
#include <vector>

#include "core/modules/docker_usage.h"
#include "core/text/ascii.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr std::size_t kMostLines = 5;

bool isWordCharacter(char letter) {
    return letter == '_' || (letter >= '0' && letter <= '9') || (letter >= 'a' && letter <= 'z') ||
           (letter >= 'A' && letter <= 'Z');
}

// Whether the lower-case text begins with the whole word.
bool beginsWithWord(std::string_view text, std::string_view word) {
    return text.starts_with(word) && (text.size() == word.size() || !isWordCharacter(text[word.size()]));
}

// Of "npm error code" the part behind "npm"; the line itself when it does not begin so.
std::string_view behindNpm(std::string_view line) {
    constexpr std::string_view kNpm = "npm";
    if (!line.starts_with(kNpm) || line.size() == kNpm.size()) return line;
    const std::string_view rest = line.substr(kNpm.size());
    return kWhiteSpace.contains(rest.front()) ? trimmed(rest) : line;
}

bool opensReason(std::string_view line) {
    const std::string_view rest = behindNpm(line);
    return beginsWithWord(rest, "error") || beginsWithWord(rest, "fatal") ||
           (rest.size() != line.size() && rest.starts_with("err!"));
}

bool isWarning(std::string_view line) {
    const std::string_view rest = behindNpm(line);
    return beginsWithWord(rest, "warn") || beginsWithWord(rest, "warning");
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

// "0", "0B", "0.0 kB".
bool isLiteralZero(std::string_view text) {
    if (!text.starts_with('0')) return false;
    text.remove_prefix(1);
    if (text.starts_with(".0")) text.remove_prefix(std::min(text.find_first_not_of('0', 1), text.size()));
    return std::ranges::all_of(trimmed(text), [](char letter) {
        return isWordCharacter(letter) && letter != '_' && (letter < '0' || letter > '9');
    });
}

std::optional<std::uint64_t> sizeIn(std::string_view text) {
    const auto bytes = DockerUsage::parseBytes(text);
    return bytes == 0U && !isLiteralZero(text) ? std::nullopt : bytes;
}

std::optional<std::uint64_t> sizeBehind(std::string_view output, std::string_view label, bool isAtStart) {
    for (const std::string_view line : linesOf(output)) {
        const std::size_t at = line.find(label);
        if (at == std::string_view::npos || (isAtStart && at != 0)) continue;
        return sizeIn(trimmed(line.substr(at + label.size())));
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> failureReason(std::string_view output) {
    std::string reason;
    std::size_t taken = 0;
    for (const std::string_view raw : linesOf(output)) {
        const std::string_view line = trimmed(raw);
        if (line.empty()) continue;
        const std::string lower = lowerCase(line);
        const bool continues = raw.front() == ' ' || raw.front() == '\t';
        if (taken == 0 ? !opensReason(lower) : !continues) {
            if (taken > 0) break;
            continue;
        }
        if (isWarning(lower)) continue;
        if (taken > 0) reason += ' ';
        reason += printable(line);
        if (++taken == kMostLines) break;
    }
    return taken == 0 ? std::nullopt : std::optional(reason);
}

std::optional<std::uint64_t> reclaimedBytes(std::string_view output) {
    return sizeBehind(output, "reclaimed space:", false);
}

std::optional<std::uint64_t> builderTotalBytes(std::string_view output) {
    return sizeBehind(output, "Total:", true);
}

}  // namespace brindle
