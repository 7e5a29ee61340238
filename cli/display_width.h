// How many columns a text takes on a terminal, and making it take fewer. Texts are UTF-8 that printable() has
// seen.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// Wide characters take two columns, combining marks none.
unsigned displayWidth(std::string_view text);

// The text if it fits, otherwise its beginning and its end with `ellipsis` between: for paths, whose ends
// tell most.
std::string shortenMiddle(std::string_view text, unsigned columns, std::string_view ellipsis);

// The text if it fits, otherwise its beginning and `ellipsis`.
std::string shortenEnd(std::string_view text, unsigned columns, std::string_view ellipsis);

// Filled with spaces up to `columns`; a text that is as wide or wider is unchanged.
std::string padRight(std::string_view text, unsigned columns);
std::string padLeft(std::string_view text, unsigned columns);

// The words in lines of at most `columns`; only a word that is wider by itself is broken. At least one line.
std::vector<std::string> wrap(std::string_view text, unsigned columns);

}  // namespace brindle
