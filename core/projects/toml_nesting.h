// Whether a TOML text may be handed to a parser that calls itself for every level.
#pragma once

#include <cstddef>
#include <string_view>

namespace brindle {

// Far beyond what anybody writes; what is deeper could exhaust the stack of a thread, and of a parser that frees its
// tables one inside the other.
inline constexpr std::size_t kTomlBrackets = 64;  // arrays and inline tables open at once
inline constexpr std::size_t kTomlDots =
    256;  // outside of strings and comments, in one statement or table header

// True of every TOML document within both limits. Of a text that is no TOML the answer is about what stands before the
// first mistake: no parser goes on behind it.
bool isShallowToml(std::string_view text);

}  // namespace brindle
