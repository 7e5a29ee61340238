#include "cli/page_rows.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include "cli/display_width.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

constexpr unsigned kMostLabel = 20;  // columns; a longer label has a line of its own

std::string rowText(const Row& row, unsigned labels, const Look& look) {
    const unsigned indent = look.isNarrow() ? 4 : 2 + labels + 2;
    const std::string label = shortenMiddle(row.label, look.width - 2, look.glyphs.ellipsis());
    bool isFirst = !look.isNarrow() && displayWidth(label) <= labels && !row.paragraphs.empty();
    std::string text =
        "  " + look.palette.heading(padRight(label, isFirst ? labels : 0)) + (isFirst ? "  " : "\n");
    for (const std::string& paragraph : row.paragraphs) {
        for (const std::string& line : wrap(spelled(paragraph, look.glyphs), look.width - indent)) {
            text += (isFirst ? "" : std::string(indent, ' ')) + line + "\n";
            isFirst = false;
        }
    }
    for (const std::string& command : row.commands) text += commandText(command);
    return text;
}

}  // namespace

std::string spelled(std::string_view text, const Glyphs& glyphs) {
    std::string plain(text);
    if (glyphs.isUnicode) return plain;
    for (const auto& [sign, substitute] : {std::pair{" — ", " - "}, {" · ", " - "}, {" ×", " x"}}) {
        const std::string_view sought = sign;
        for (std::size_t at = plain.find(sought); at != std::string::npos; at = plain.find(sought, at))
            plain.replace(at, sought.size(), substitute);
    }
    return plain;
}

void addText(Rows& rows, const std::string& label, const std::string& text) {
    Row row{label, {}};
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) row.paragraphs.push_back(printable(line));
    if (!row.paragraphs.empty()) rows.push_back(std::move(row));
}

std::string rowsText(const Rows& rows, const Look& look) {
    unsigned labels = 0;
    for (const Row& row : rows) labels = std::max(labels, displayWidth(row.label));
    std::string text;
    for (const Row& row : rows) text += rowText(row, std::min(labels, kMostLabel), look);
    return text;
}

std::string paragraphText(std::string_view words, unsigned indent, const Look& look) {
    std::string text;
    for (const std::string& line : wrap(spelled(words, look.glyphs), look.width - indent)) {
        text += std::string(indent, ' ') + line + "\n";
    }
    return text;
}

std::string commandText(std::string_view line) {
    return "    " + std::string(line) + "\n";
}

std::string spread(std::string_view left, std::string_view right, unsigned columns, const Look& look) {
    const unsigned taken = right.empty() ? 0 : displayWidth(right) + 2;
    if (taken + 12 > columns) return shortenEnd(left, columns, look.glyphs.ellipsis());
    const unsigned room = columns - taken;
    std::string line = shortenEnd(left, room, look.glyphs.ellipsis());
    if (right.empty()) return line;
    return padRight(line, room) + "  " + look.palette.quiet(right);
}

}  // namespace brindle
