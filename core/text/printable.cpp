#include "core/text/printable.h"

#include <fmt/format.h>
#include <unicode/utf8.h>

#include <cstddef>
#include <cstdint>
#include <iterator>

namespace brindle {

namespace {

struct Character {
    std::int32_t code;  // negative: the bytes are no character
    std::string_view bytes;
};

// ICU's macro knows the overlong forms, the surrogates and where a broken sequence ends.
Character firstOf(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    std::size_t next = 0;
    std::int32_t code = 0;
    U8_NEXT(bytes, next, text.size(), code);
    return {code, text.substr(0, next)};
}

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
        const Character character = firstOf(rest);
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
        const Character character = firstOf(bytes);
        if (character.code < 0) return false;
        bytes.remove_prefix(character.bytes.size());
    }
    return true;
}

}  // namespace brindle
