#include "core/projects/toml_nesting.h"

#include <algorithm>

namespace brindle {

namespace {

void drop(std::string_view& text, std::size_t count) {
    text.remove_prefix(std::min(count, text.size()));
}

// Past the end of the string that a quote begins, which may be """ or '''. At a line end in a string of one line the
// text is broken, and is dropped.
void dropString(std::string_view& text) {
    const char quote = text.front();
    const std::string_view triple = quote == '"' ? R"(""")" : "'''";
    const bool isTriple = text.starts_with(triple);
    drop(text, isTriple ? 3 : 1);
    while (!text.empty()) {
        if (quote == '"' && text.front() == '\\') {
            drop(text, 2);
        } else if (!isTriple && text.front() == '\n') {
            text = {};
        } else if (isTriple ? text.starts_with(triple) : text.front() == quote) {
            drop(text, isTriple ? 3 : 1);
            // Up to two more quotes still belong to the string.
            for (int more = 0; isTriple && more < 2 && text.starts_with(quote); ++more) drop(text, 1);
            return;
        } else {
            drop(text, 1);
        }
    }
}

}  // namespace

bool isShallowToml(std::string_view text) {
    std::size_t brackets = 0;
    std::size_t dots = 0;
    while (!text.empty() && brackets <= kTomlBrackets && dots <= kTomlDots) {
        const char c = text.front();
        if (c == '"' || c == '\'') {
            dropString(text);
            continue;
        }
        if (c == '#') {
            drop(text, text.find('\n'));
            continue;
        }
        if (c == '[' || c == '{') ++brackets;
        if ((c == ']' || c == '}') && brackets > 0) --brackets;
        if (c == '.') ++dots;
        if (c == '\n' && brackets == 0) dots = 0;
        drop(text, 1);
    }
    return brackets <= kTomlBrackets && dots <= kTomlDots;
}

}  // namespace brindle
