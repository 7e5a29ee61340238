// What the shells complete, made from the option definitions.
#pragma once

#include <string>
#include <string_view>

#include "cli/option_set.h"

namespace brindle {

// The script for "bash", "zsh" or "fish".
std::string completionScript(const OptionSet& set, std::string_view shell);

}  // namespace brindle
