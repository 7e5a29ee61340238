#include "core/model/uuid.h"

#include <fmt/format.h>

#include <charconv>
#include <cstddef>
#include <span>

#include "core/platform/random.h"

namespace brindle {

namespace {

// A hyphen stands before each of these bytes.
constexpr bool followsHyphen(std::size_t byte) {
    return byte == 4 || byte == 6 || byte == 8 || byte == 10;
}

}  // namespace

std::expected<Uuid, Error> Uuid::fresh() {
    Uuid uuid;
    if (auto filled = fillWithRandom(std::as_writable_bytes(std::span(uuid.bytes))); !filled) {
        return std::unexpected(filled.error());
    }
    uuid.bytes[6] = static_cast<std::uint8_t>((uuid.bytes[6] & 0x0FU) | 0x40U);
    uuid.bytes[8] = static_cast<std::uint8_t>((uuid.bytes[8] & 0x3FU) | 0x80U);
    return uuid;
}

std::string Uuid::text() const {
    std::string text;
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (followsHyphen(at)) text += '-';
        text += fmt::format("{:02X}", bytes[at]);
    }
    return text;
}

std::optional<Uuid> uuidFrom(std::string_view text) {
    if (text.size() != 36) return std::nullopt;
    Uuid uuid;
    for (std::size_t at = 0; at < uuid.bytes.size(); ++at) {
        if (followsHyphen(at)) {
            if (!text.starts_with('-')) return std::nullopt;
            text.remove_prefix(1);
        }
        const char* end = text.data() + 2;
        const auto [stopped, failure] = std::from_chars(text.data(), end, uuid.bytes[at], 16);
        if (failure != std::errc() || stopped != end) return std::nullopt;
        text.remove_prefix(2);
    }
    return uuid;
}

}  // namespace brindle
