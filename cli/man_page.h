// The manual page, made from the option definitions.
#pragma once

#include <string>

#include "cli/option_set.h"

namespace brindle {

// In the man macros of roff: brindle(1).
std::string manPage(const OptionSet& set);

}  // namespace brindle
