// The help that a person reads, made from the option definitions.
#pragma once

#include <string>

#include "cli/option_set.h"
#include "cli/palette.h"

namespace brindle {

// Of a command, or of the program itself when the name is empty. Examples first. Ends with a line feed.
std::string helpText(const OptionSet& set, const std::string& commandName, const Look& look);

// "brindle explain [OPTIONS] ITEM|PATH"
std::string usageLine(const OptionSet& set, const CLI::App& command);

// "--home DIR", "-h, --help"
std::string optionHeading(const CLI::Option& option);

// Its meaning, with the choices where they are few.
std::string optionMeaning(const OptionSet& set, const CLI::Option& option);

}  // namespace brindle
