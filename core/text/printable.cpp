#include "core/text/printable.h"

#include <fmt/format.h>

#include <cstdint>
#include <iterator>

#include "core/text/utf8.h"

namespace brindle {

namespace {

bool isControl(std::int32_t code) {
    return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

bool isDirectionMark(std::int32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
           (code >= 0x2066 && code <= 0x2069);
}

// Separators of lines and paragraphs, and marks without any width.
bool isInvisible(std::int32_t code) {
    return code == 0x200B || code == 0x2028 || code == 0x2029 || code == 0xFEFF;
}

bool isShownAsItIs(std::int32_t code) {
    return code >= 0 && !isControl(code) && !isDirectionMark(code) && !isInvisible(code);
}

}  // namespace

std::string printable(std::string_view bytes) {
    std::string shown;
    shown.reserve(bytes.size());
    for (std::string_view rest = bytes; !rest.empty();) {
        const Utf8Character character = firstCharacter(rest);
        rest.remove_prefix(character.bytes.size());
        if (isShownAsItIs(character.code)) {
            shown += character.bytes;
            continue;
        }
        for (const char byte : character.bytes) {
            fmt::format_to(std::back_inserter(shown), "\\x{:02X}", static_cast<unsigned char>(byte));
        }
    }
    return shown;
}

bool isValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const Utf8Character character = firstCharacter(bytes);
        if (character.code < 0) return false;
        bytes.remove_prefix(character.bytes.size());
    }
    return true;
}

}  // namespace brindle
