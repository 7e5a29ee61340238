// The typed and printed forms of the values that settings hold. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

// "true", "on", "yes" and "false", "off", "no", in any case.
std::optional<bool> flagFromText(std::string_view text);

// A number with an optional decimal unit, exact: "20GB", "1.5 tb", "20000000000". Absent for anything else,
// for a fraction of a byte, and beyond 64 bits.
std::optional<std::uint64_t> bytesFromText(std::string_view text);

// The largest unit that divides the number: "20GB", "1500MB", "1234".
std::string exactBytesText(std::uint64_t bytes);

// The entries of all texts, each text split at its commas. A single empty text is the empty list.
std::vector<std::string> listFromTexts(std::span<const std::string> texts);

// The inverse, as one text.
std::string listText(std::span<const std::string> entries);

}  // namespace brindle
