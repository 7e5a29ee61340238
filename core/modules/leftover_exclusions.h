// Identifiers whose folders are never shown as left behind, because no application bundle has to be there for them to
// be in use, or because what they hold is too dear for a guess.
#pragma once

#include <string_view>

namespace brindle {

// One of the table's, or part of one.
bool isNeverLeftover(std::string_view identifier);

}  // namespace brindle
