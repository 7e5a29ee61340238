// What a tool says of a cleanup that it has run: why it failed, and what it freed. Pure.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

// The lines of a tool's output that tell why it failed, at most five, on one line: the first that begins with "error",
// "fatal" (in any case, also behind "npm") or "npm ERR!", and the indented ones right after it. Warnings are never part
// of it. Absent when no line opens a reason.
std::optional<std::string> failureReason(std::string_view output);

// The bytes behind the first "reclaimed space:", in decimal units; absent when the tool does not say, and when what it
// says is no size.
std::optional<std::uint64_t> reclaimedBytes(std::string_view output);

// The same of a builder that ends its list with "Total:" instead.
std::optional<std::uint64_t> builderTotalBytes(std::string_view output);

}  // namespace brindle
