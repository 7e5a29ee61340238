#include "cli/text_table.h"

#include <algorithm>

#include "cli/display_width.h"

namespace brindle {

std::string TextTable::text(const Look& look) const {
    std::vector<unsigned> widths;
    for (std::size_t column = 0; column < headings_.size(); ++column) {
        unsigned widest = displayWidth(headings_[column]);
        for (const auto& row : rows_) widest = std::max(widest, displayWidth(row[column]));
        widths.push_back(widest);
    }
    std::string text = look.palette.heading(line(headings_, widths, look)) + "\n";
    for (const auto& row : rows_) text += line(row, widths, look) + "\n";
    return text;
}

std::string TextTable::line(const std::vector<std::string>& texts, const std::vector<unsigned>& widths,
                            const Look& look) const {
    std::string text;
    unsigned taken = 0;
    for (std::size_t column = 0; column < texts.size(); ++column) {
        const unsigned left = look.width > taken ? look.width - taken : 0;
        const unsigned most = std::min(widths[column], left);
        const std::string shown = shortenMiddle(texts[column], most, look.glyphs.ellipsis());
        const bool isLast = column + 1 == texts.size();
        text += isLast ? shown : padRight(shown, most) + "  ";
        taken += most + 2;
    }
    while (text.ends_with(' ')) text.pop_back();
    return text;
}

}  // namespace brindle
