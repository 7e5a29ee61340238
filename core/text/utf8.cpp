#include "core/text/utf8.h"

#include <unicode/locid.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <cstddef>

#include "core/text/ascii.h"
#include "core/text/printable.h"

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

std::string caseless(std::string_view text) {
    const bool isAscii =
        std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    UErrorCode status = U_ZERO_ERROR;
    const icu::Normalizer2* composer = icu::Normalizer2::getNFCInstance(status);
    if (isAscii || U_FAILURE(status) || !isValidUtf8(text)) return lowerCase(text);
    auto characters =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<std::int32_t>(text.size())));
    characters = composer->normalize(characters.toLower(icu::Locale::getRoot()), status);
    std::string lower;
    return U_FAILURE(status) ? lowerCase(text) : characters.toUTF8String(lower);
}

}  // namespace brindle
