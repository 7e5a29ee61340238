// The characters of a text that may be any bytes.
#pragma once

#include <cstdint>
#include <string_view>

namespace brindle {

struct Utf8Character {
    std::int32_t code;       // negative: the bytes are no character
    std::string_view bytes;  // at least one of a text that is not empty
};

Utf8Character firstCharacter(std::string_view text);

// In the sense of Unicode: é and ن are letters, ٣ is a digit. False for a negative code.
bool isLetterOrDigit(std::int32_t code);

}  // namespace brindle
