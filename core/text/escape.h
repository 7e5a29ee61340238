// Characters that mean something to who reads a text, written so that they do not.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <string_view>

namespace brindle {

struct Escape {
    char character;
    std::string_view text;
};

// In the text of an element; attributes need quotes escaped too.
inline constexpr Escape kXmlEscapes[] = {{'&', "&amp;"}, {'<', "&lt;"}, {'>', "&gt;"}};

inline std::string escaped(std::string_view text, std::span<const Escape> escapes) {
    std::string result;
    for (const char each : text) {
        const auto found = std::ranges::find(escapes, each, &Escape::character);
        if (found == escapes.end()) {
            result += each;
        } else {
            result += found->text;
        }
    }
    return result;
}

}  // namespace brindle
