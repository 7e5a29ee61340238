#include "cli/display_width.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstdint>

namespace brindle {

namespace {

// A character that takes columns, with the marks that follow it and take none.
struct Cell {
    std::string_view bytes;
    unsigned columns = 0;
};

unsigned columnsOf(UChar32 character) {
    const int type = u_charType(character);
    if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) return 0;
    const int width = u_getIntPropertyValue(character, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

std::vector<Cell> cells(std::string_view text) {
    std::vector<Cell> result;
    while (!text.empty()) {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
        std::size_t next = 0;
        UChar32 character = 0;
        U8_NEXT(bytes, next, text.size(), character);
        const unsigned columns = character < 0 ? 1 : columnsOf(character);
        if (columns == 0 && !result.empty()) {
            Cell& base = result.back();
            base.bytes = {base.bytes.data(), base.bytes.size() + next};
        } else {
            result.push_back({text.substr(0, next), columns});
        }
        text.remove_prefix(next);
    }
    return result;
}

unsigned total(const std::vector<Cell>& row) {
    unsigned sum = 0;
    for (const Cell& cell : row) sum += cell.columns;
    return sum;
}

// As many cells as fit, taken from an iterator on.
template <typename Iterator>
std::vector<Cell> fitting(Iterator from, const Iterator& end, unsigned columns) {
    std::vector<Cell> taken;
    for (; from != end && from->columns <= columns; ++from) {
        columns -= from->columns;
        taken.push_back(*from);
    }
    return taken;
}

std::string joined(const std::vector<Cell>& row) {
    std::string text;
    for (const Cell& cell : row) text += cell.bytes;
    return text;
}

std::string spaces(unsigned have, unsigned want) {
    return std::string(want > have ? want - have : 0, ' ');
}

std::vector<std::string> words(std::string_view text) {
    std::vector<std::string> result(1);
    for (const char letter : text) {
        if (letter == ' ' || letter == '\n') {
            if (!result.back().empty()) result.emplace_back();
        } else {
            result.back() += letter;
        }
    }
    if (result.back().empty()) result.pop_back();
    return result;
}

}  // namespace

unsigned displayWidth(std::string_view text) {
    return total(cells(text));
}

std::string shortenMiddle(std::string_view text, unsigned columns, std::string_view ellipsis) {
    const std::vector<Cell> row = cells(text);
    if (total(row) <= columns) return std::string(text);
    const unsigned mark = displayWidth(ellipsis);
    if (columns <= mark) return joined(fitting(row.begin(), row.end(), columns));
    const unsigned room = columns - mark;
    // The end of a path tells more than its beginning.
    const std::vector<Cell> front = fitting(row.begin(), row.end(), room * 2 / 5);
    std::vector<Cell> back = fitting(row.rbegin(), row.rend(), room - total(front));
    std::ranges::reverse(back);
    return joined(front) + std::string(ellipsis) + joined(back);
}

std::string shortenEnd(std::string_view text, unsigned columns, std::string_view ellipsis) {
    const std::vector<Cell> row = cells(text);
    if (total(row) <= columns) return std::string(text);
    const unsigned mark = displayWidth(ellipsis);
    if (columns <= mark) return joined(fitting(row.begin(), row.end(), columns));
    return joined(fitting(row.begin(), row.end(), columns - mark)) + std::string(ellipsis);
}

std::string padRight(std::string_view text, unsigned columns) {
    return std::string(text) + spaces(displayWidth(text), columns);
}

std::string padLeft(std::string_view text, unsigned columns) {
    return spaces(displayWidth(text), columns) + std::string(text);
}

std::vector<std::string> wrap(std::string_view text, unsigned columns) {
    const unsigned most = std::max(columns, 2U);
    std::vector<std::string> lines(1);
    for (std::string word : words(text)) {
        const bool isFirst = lines.back().empty();
        if (displayWidth(lines.back()) + (isFirst ? 0 : 1) + displayWidth(word) <= most) {
            lines.back() += (isFirst ? "" : " ") + word;
            continue;
        }
        if (!isFirst) lines.emplace_back();
        while (displayWidth(word) > most) {
            const std::vector<Cell> row = cells(word);
            const std::string head = joined(fitting(row.begin(), row.end(), most));
            lines.back() = head;
            lines.emplace_back();
            word.erase(0, head.size());
        }
        lines.back() = word;
    }
    return lines;
}

}  // namespace brindle
