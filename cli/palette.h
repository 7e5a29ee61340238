// Colours, symbols and width of what is printed: decided once, from the terminal and the environment.
#pragma once

#include <string>
#include <string_view>

#include "core/model/classification.h"
#include "core/model/storage_category.h"

namespace brindle {

// Wraps a text in the sixteen-colour codes that every terminal knows, or leaves it alone. Pad before, for the
// codes take no columns.
class Palette {
  public:
    explicit Palette(bool isColoured) : isColoured_(isColoured) {}

    std::string heading(std::string_view text) const;
    std::string quiet(std::string_view text) const;
    std::string warning(std::string_view text) const;
    std::string judged(Classification classification, std::string_view text) const;
    std::string slice(StorageCategory::Kind kind, std::string_view text) const;

  private:
    std::string painted(std::string_view code, std::string_view text) const;

    bool isColoured_;
};

// Symbols that a terminal without UTF-8 gets in ASCII.
struct Glyphs {
    bool isUnicode = false;

    std::string_view ellipsis() const { return isUnicode ? "…" : "..."; }
    std::string_view dot() const { return isUnicode ? " · " : " - "; }
    std::string_view atLeast() const { return isUnicode ? "≥ " : ">= "; }
    std::string_view slice(StorageCategory::Kind kind) const;  // one column
};

struct Look {
    unsigned width = 80;
    Palette palette{false};
    Glyphs glyphs;

    bool isNarrow() const { return width < 64; }
    // Where texts face each other across a line: farther apart than this the eye loses the line.
    unsigned spreadWidth() const { return width < 100 ? width : 100; }
};

}  // namespace brindle
