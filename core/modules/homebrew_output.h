// What Homebrew prints when it is asked. Pure functions on its standard output.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// The names of the formulae that `brew autoremove --dry-run` would uninstall, in its order; none when it printed
// nothing of the kind. A heading, "==> Would autoremove 2 unneeded formulae:" (in autumn 2020 "Formulae that could be
// removed" or "... will be removed"), then one name a line, tap-qualified ("user/tap/formula") where it is not
// Homebrew's own. Lines that can be no name are ignored. Absent, since the list is not to be trusted, when the heading
// counts otherwise than there are names, when there are names without a heading or two headings, and when a name comes
// twice.
std::optional<std::vector<std::string>> parseAutoremove(std::string_view output);

// The folder of installed formulae, from `brew --cellar`: one absolute path without "..", named "Cellar".
std::optional<std::string> parseCellar(std::string_view output);

// The name of a formula's folder in the Cellar: the last part of a tap-qualified name.
std::string cellarFolderName(std::string_view formula);

}  // namespace brindle
