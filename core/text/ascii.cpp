#include "core/text/ascii.h"

#include <algorithm>

namespace brindle {

bool isAscii(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

std::vector<std::string_view> split(std::string_view text, char separator) {
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t end = text.find(separator);
        parts.push_back(text.substr(0, end));
        if (end == std::string_view::npos) return parts;
        text.remove_prefix(end + 1);
    }
}

std::string_view trimmed(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(kWhiteSpace), text.size()));
    return text.substr(0, text.find_last_not_of(kWhiteSpace) + 1);
}

std::vector<std::string_view> trimmedLines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        const std::string_view line = trimmed(text.substr(0, end));
        if (!line.empty()) lines.push_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    for (char& letter : lower) {
        if (isAsciiUpper(letter)) letter = static_cast<char>(letter - 'A' + 'a');
    }
    return lower;
}

}  // namespace brindle
