// Rows of short texts in aligned columns.
#pragma once

#include <string>
#include <vector>

#include "cli/palette.h"

namespace brindle {

// Columns are as wide as their widest text. The last one is shortened in the middle where the terminal ends.
class TextTable {
  public:
    explicit TextTable(std::vector<std::string> headings) : headings_(std::move(headings)) {}

    // As many texts as there are headings.
    void add(std::vector<std::string> texts) { rows_.push_back(std::move(texts)); }

    std::string text(const Look& look) const;

  private:
    std::string line(const std::vector<std::string>& texts, const std::vector<unsigned>& widths,
                     const Look& look) const;

    std::vector<std::string> headings_;
    std::vector<std::vector<std::string>> rows_;
};

}  // namespace brindle
