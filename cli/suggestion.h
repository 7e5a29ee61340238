// "Did you mean ...?"
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// The one of `known` that a person who typed `typed` probably meant: few letters changed, added, left out, or
// two neighbours swapped. Absent when none is near, and when `typed` is one of them already.
std::optional<std::string> closest(std::string_view typed, const std::vector<std::string>& known);

}  // namespace brindle
