#include "core/text/utf8.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <cstddef>

namespace brindle {

// ICU's macro knows the overlong forms, the surrogates and where a broken sequence ends.
Utf8Character firstCharacter(std::string_view text) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    std::size_t next = 0;
    std::int32_t code = 0;
    U8_NEXT(bytes, next, text.size(), code);
    return {code, text.substr(0, next)};
}

bool isLetterOrDigit(std::int32_t code) {
    return code >= 0 && u_isalnum(code) != 0;
}

}  // namespace brindle
