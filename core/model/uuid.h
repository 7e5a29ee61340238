// The identity of a record that is kept: 128 bits, written as the usual 36 characters.
#pragma once

#include <array>
#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

struct Uuid {
    std::array<std::uint8_t, 16> bytes{};

    auto operator<=>(const Uuid&) const = default;

    // A new one of version 4. An error only when the system gives no random numbers. Any thread.
    static std::expected<Uuid, Error> fresh();
    // "F81D4FAE-7DEC-41D0-A765-00A0C91E6BF6", in capitals.
    std::string text() const;
};

// Of either case and any version; absent for anything else.
std::optional<Uuid> uuidFrom(std::string_view text);

}  // namespace brindle
