// The characters of a text that may be any bytes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace brindle {

struct Utf8Character {
    std::int32_t code;       // negative: the bytes are no character
    std::string_view bytes;  // at least one of a text that is not empty
};

Utf8Character firstCharacter(std::string_view text);

// In the sense of Unicode: é and ن are letters, ٣ is a digit. False for a negative code.
bool isLetterOrDigit(std::int32_t code);

// In lower case and composed, in the sense of Unicode and in no language: two names that differ by case, or by how an
// accent is stored, come out equal. Of what is no UTF-8 only "A" to "Z" change.
std::string caseless(std::string_view text);

}  // namespace brindle
