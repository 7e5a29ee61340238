#include "core/modules/android_ini.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/text/ascii.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// What windows-1252 has where ISO-8859-1 has control characters, from 0x80 on; 0 where it has nothing.
constexpr std::array<std::uint16_t, 32> kWindows1252 = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178,
};

enum class Encoding { utf8, latin1, windows1252, unknown };

bool isKeyCharacter(char c) {
    return isAsciiLetterOrDigit(c) || c == '.' || c == '_' || c == '-';
}

Encoding encodingNamed(std::string_view text) {
    const std::string name = lowerCase(text);
    if (name.empty() || name == "utf-8" || name == "utf8") return Encoding::utf8;
    if (name == "iso-8859-1" || name == "iso8859-1" || name == "iso8859_1" || name == "latin1")
        return Encoding::latin1;
    if (name == "windows-1252" || name == "cp1252") return Encoding::windows1252;
    return Encoding::unknown;
}

// Every character of the two encodings lies below 0x10000.
void appendCharacter(std::string& text, std::uint32_t character) {
    const auto add = [&text](std::uint32_t byte) { text += static_cast<char>(byte); };
    if (character < 0x80) return add(character);
    if (character < 0x800) {
        add(0xC0U | (character >> 6U));
    } else {
        add(0xE0U | (character >> 12U));
        add(0x80U | ((character >> 6U) & 0x3FU));
    }
    add(0x80U | (character & 0x3FU));
}

std::optional<std::string> decodedBytes(std::string_view bytes, Encoding encoding) {
    std::string text;
    for (const char c : bytes) {
        std::uint32_t character = static_cast<unsigned char>(c);
        if (encoding == Encoding::windows1252 && character >= 0x80 && character < 0xA0) {
            character = kWindows1252.at(character - 0x80);
            if (character == 0) return std::nullopt;
        }
        appendCharacter(text, character);
    }
    return text;
}

std::optional<std::string> decoded(std::string_view bytes, Encoding encoding) {
    if (isAscii(bytes)) return std::string(bytes);
    switch (encoding) {
        case Encoding::utf8:
            return isValidUtf8(bytes) ? std::optional(std::string(bytes)) : std::nullopt;
        case Encoding::latin1:
        case Encoding::windows1252:
            return decodedBytes(bytes, encoding);
        case Encoding::unknown:
            return std::nullopt;
    }
    return std::nullopt;
}

// False for a line that cannot be understood.
bool takeLine(std::string_view line, AndroidIni& ini) {
    line = trimmed(line);
    if (line.empty() || line.front() == '#' || line.front() == ';') return true;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) return false;
    const std::string_view key = trimmed(line.substr(0, equals));
    if (key.empty() || !std::ranges::all_of(key, isKeyCharacter)) return false;
    ini.values.insert_or_assign(std::string(key), std::string(trimmed(line.substr(equals + 1))));
    return true;
}

std::optional<AndroidIni> linesOf(std::string_view text) {
    AndroidIni ini;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find_first_of("\r\n"), text.size());
        if (!takeLine(text.substr(0, end), ini)) return std::nullopt;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return ini;
}

}  // namespace

std::optional<AndroidIni> AndroidIni::parse(std::string_view bytes) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    // A NUL byte is how UTF-16 shows even without its mark.
    if (bytes.size() > kLimit || bytes.find('\0') != std::string_view::npos) return std::nullopt;
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return std::nullopt;
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    // All the encodings agree on ASCII, so that the one that is named can be read before it is known.
    auto ini = linesOf(bytes);
    if (!ini) return std::nullopt;
    const auto text = decoded(bytes, encodingNamed(ini->value("avd.ini.encoding").value_or("")));
    return text ? linesOf(*text) : std::nullopt;
}

std::optional<std::string> AndroidIni::value(std::string_view key) const {
    const auto found = values.find(key);
    if (found == values.end() || found->second.empty()) return std::nullopt;
    return found->second;
}

}  // namespace brindle
