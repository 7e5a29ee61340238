// What a page about one thing is made of: labelled rows, paragraphs, lines with two ends.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cli/palette.h"

namespace brindle {

struct Row {
    std::string label;
    std::vector<std::string> paragraphs;
    // Below them. Each stands on a line of its own that is never broken, however narrow the terminal: to be copied.
    std::vector<std::string> commands = {};
};

using Rows = std::vector<Row>;

// The text with signs of its own that every terminal has, where others are not to be had.
std::string spelled(std::string_view text, const Glyphs& glyphs);

// A row with a paragraph for each line of the text, safe for a terminal; none for an empty text.
void addText(Rows& rows, const std::string& label, const std::string& text);

// The paragraphs beside their labels, or below them where these are long or the terminal is narrow.
std::string rowsText(const Rows& rows, const Look& look);

// The words in lines, with `indent` blanks before each.
std::string paragraphText(std::string_view words, unsigned indent, const Look& look);

// A command line to copy.
std::string commandText(std::string_view line);

// Right text, quiet, at the right edge; left text shortened to leave it room.
std::string spread(std::string_view left, std::string_view right, unsigned columns, const Look& look);

}  // namespace brindle
