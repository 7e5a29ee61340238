#include "core/platform/base64.h"

#include <cstddef>
#include <cstdint>

namespace brindle {

namespace {

constexpr std::string_view kAlphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

std::string base64(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t start = 0; start < bytes.size(); start += 3) {
        const std::string_view group = bytes.substr(start, 3);
        std::uint32_t bits = 0;
        for (std::size_t index = 0; index < 3; ++index) {
            bits = bits << 8 | (index < group.size() ? static_cast<unsigned char>(group[index]) : 0U);
        }
        for (std::size_t index = 0; index < 4; ++index) {
            text += index <= group.size() ? kAlphabet[bits >> (18 - 6 * index) & 63] : '=';
        }
    }
    return text;
}

std::optional<std::string> bytesFromBase64(std::string_view text) {
    std::string bytes;
    std::uint32_t bits = 0;
    unsigned held = 0;
    for (const char letter : text.substr(0, text.find('='))) {
        const std::size_t digit = kAlphabet.find(letter);
        if (digit == std::string_view::npos) return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        held += 6;
        if (held < 8) continue;
        held -= 8;
        bytes += static_cast<char>(bits >> held & 0xFF);
    }
    // Writing it again finds wrong padding and stray bits at the end without a rule for each.
    if (base64(bytes) != text) return std::nullopt;
    return bytes;
}

}  // namespace brindle
