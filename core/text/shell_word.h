// Command lines that people copy into a shell.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// The text as one word of sh, bash or zsh: as it stands, or between single quotes, where nothing has a meaning. Absent
// for what cannot be copied as it is shown (control characters, marks that reverse the writing, no UTF-8), for what a
// tool would take for an option, and for an empty text.
std::optional<std::string> shellWord(std::string_view text);

// The same, but a text may look like an option: for the parts of a command line that Brindle itself composes.
std::optional<std::string> shellArgument(std::string_view text);

// "pyenv uninstall 3.12.0": the command with this word behind it. Absent as shellWord.
std::optional<std::string> commandLineOn(std::string_view command, std::string_view name);

}  // namespace brindle
