// What a person types at a question.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace brindle {

// "y" or "yes"; everything else is a no.
bool isYes(std::string_view answer);

// "1 3-5, 7": the numbers and ranges of numbers from 1 to `count`, each once, ascending. Absent for anything else.
std::optional<std::vector<std::size_t>> numbersIn(std::string_view answer, std::size_t count);

}  // namespace brindle
