#include "core/settings/setting_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>

#include "core/text/ascii.h"

namespace brindle {

namespace {

struct Unit {
    std::string_view name;
    std::uint64_t bytes;
};

// Largest first.
constexpr std::array<Unit, 6> kUnits = {{{"PB", 1'000'000'000'000'000},
                                         {"TB", 1'000'000'000'000},
                                         {"GB", 1'000'000'000},
                                         {"MB", 1'000'000},
                                         {"KB", 1'000},
                                         {"B", 1}}};

constexpr std::string_view kDigits = "0123456789";

std::optional<std::uint64_t> unitFrom(std::string_view text) {
    if (text.empty()) return 1;
    for (const Unit& unit : kUnits) {
        if (lowerCase(text) == lowerCase(unit.name)) return unit.bytes;
    }
    return std::nullopt;
}

std::optional<std::uint64_t> numberFrom(std::string_view digits) {
    std::uint64_t number = 0;
    const auto [end, failure] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (failure != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
    return number;
}

// The bytes that the digits behind the point stand for; absent when a part of a byte would be left.
std::optional<std::uint64_t> fractionOf(std::uint64_t unit, std::string_view digits) {
    std::uint64_t bytes = 0;
    for (const char digit : digits) {
        if (unit < 10 && digit != '0') return std::nullopt;
        unit /= 10;
        bytes += unit * static_cast<std::uint64_t>(digit - '0');
    }
    return bytes;
}

void appendEntries(std::string_view text, std::vector<std::string>& entries) {
    std::string entry;
    for (std::size_t index = 0; index < text.size(); ++index) {
        const bool escapes = text[index] == '\\' && index + 1 < text.size() &&
                             (text[index + 1] == ',' || text[index + 1] == '\\');
        if (text[index] == ',') {
            entries.emplace_back(trimmed(entry));
            entry.clear();
        } else {
            entry += escapes ? text[++index] : text[index];
        }
    }
    entries.emplace_back(trimmed(entry));
}

}  // namespace

std::optional<bool> flagFromText(std::string_view text) {
    constexpr std::array<std::string_view, 3> kYes = {"true", "on", "yes"};
    constexpr std::array<std::string_view, 3> kNo = {"false", "off", "no"};
    const std::string word = lowerCase(trimmed(text));
    if (std::ranges::find(kYes, word) != kYes.end()) return true;
    if (std::ranges::find(kNo, word) != kNo.end()) return false;
    return std::nullopt;
}

std::optional<std::uint64_t> bytesFromText(std::string_view text) {
    text = trimmed(text);
    const std::size_t end = std::min(text.find_first_not_of("0123456789."), text.size());
    const std::string_view number = text.substr(0, end);
    const auto unit = unitFrom(trimmed(text.substr(end)));
    const std::size_t point = std::min(number.find('.'), number.size());
    const std::string_view decimals = number.substr(std::min(point + 1, number.size()));
    const bool endsInPoint = point + 1 == number.size();
    if (!unit || endsInPoint || decimals.find_first_not_of(kDigits) != std::string_view::npos)
        return std::nullopt;
    const auto whole = numberFrom(number.substr(0, point));
    const auto fraction = fractionOf(*unit, decimals);
    std::uint64_t bytes = 0;
    if (!whole || !fraction || __builtin_mul_overflow(*whole, *unit, &bytes) ||
        __builtin_add_overflow(bytes, *fraction, &bytes)) {
        return std::nullopt;
    }
    return bytes;
}

std::string exactBytesText(std::uint64_t bytes) {
    if (bytes == 0) return "0";
    const auto unit = std::ranges::find_if(kUnits, [&](const Unit& each) { return bytes % each.bytes == 0; });
    return std::to_string(bytes / unit->bytes) + (unit->bytes == 1 ? "" : std::string(unit->name));
}

std::vector<std::string> listFromTexts(std::span<const std::string> texts) {
    std::vector<std::string> entries;
    if (texts.size() == 1 && trimmed(texts.front()).empty()) return entries;
    for (const std::string& text : texts) appendEntries(text, entries);
    return entries;
}

std::string listText(std::span<const std::string> entries) {
    std::string text;
    for (const std::string& entry : entries) {
        if (!text.empty()) text += ',';
        for (const char letter : entry) {
            if (letter == ',' || letter == '\\') text += '\\';
            text += letter;
        }
    }
    return text;
}

}  // namespace brindle
