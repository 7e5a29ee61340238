#include "core/platform/trash_record.h"

#include <fmt/format.h>

#include <algorithm>

#include "core/text/ascii.h"

namespace brindle {

namespace {

constexpr std::size_t kLongestName = 255;
constexpr std::string_view kPlainPunctuation = "-_.~/";

bool isPlain(char letter) {
    return isAsciiLetterOrDigit(letter) || kPlainPunctuation.contains(letter);
}

bool isInsideCharacter(char letter) {
    return (static_cast<unsigned char>(letter) & 0xC0U) == 0x80U;
}

std::string_view cutTo(std::string_view name, std::size_t length) {
    if (name.size() <= length) return name;
    std::size_t end = length;
    while (end > length - 4 && isInsideCharacter(name[end])) --end;
    // Four such bytes in a row are no UTF-8 anyway.
    return name.substr(0, isInsideCharacter(name[end]) ? length : end);
}

// The third field of "BYTES SECONDS NAME".
bool isLineOf(std::string_view line, std::string_view encodedName) {
    const std::size_t blank = line.find(' ');
    const std::size_t second = blank == std::string_view::npos ? blank : line.find(' ', blank + 1);
    return second != std::string_view::npos && line.substr(second + 1) == encodedName;
}

}  // namespace

std::string trashName(std::string_view name, unsigned attempt) {
    const std::string counter = attempt > 1 ? fmt::format(".{}", attempt) : "";
    return fmt::format("{}{}", cutTo(name, kLongestName - kTrashInfoSuffix.size() - counter.size()), counter);
}

std::string percentEncoded(std::string_view bytes) {
    std::string text;
    for (const char letter : bytes) {
        if (isPlain(letter))
            text += letter;
        else
            text += fmt::format("%{:02X}", static_cast<unsigned char>(letter));
    }
    return text;
}

std::string trashInfo(std::string_view path, const std::tm& when) {
    return fmt::format("[Trash Info]\nPath={}\nDeletionDate={:04}-{:02}-{:02}T{:02}:{:02}:{:02}\n",
                       percentEncoded(path), when.tm_year + 1900, when.tm_mon + 1, when.tm_mday, when.tm_hour,
                       when.tm_min, when.tm_sec);
}

std::string withoutTrashSize(std::string_view sizes, std::string_view name) {
    const std::string encoded = percentEncoded(name);
    std::string kept;
    while (!sizes.empty()) {
        const std::string_view line = sizes.substr(0, sizes.find('\n'));
        sizes.remove_prefix(std::min(line.size() + 1, sizes.size()));
        if (!line.empty() && !isLineOf(line, encoded)) kept += fmt::format("{}\n", line);
    }
    return kept;
}

std::string withTrashSize(std::string_view sizes, std::string_view name, const TrashSize& size) {
    return fmt::format("{}{} {} {}\n", withoutTrashSize(sizes, name), size.bytes, size.recorded,
                       percentEncoded(name));
}

}  // namespace brindle
