// Numbers that nobody can guess and no two processes share.
#pragma once

#include <cstddef>
#include <expected>
#include <span>

#include "core/platform/error.h"

namespace brindle {

// Fills at most 256 bytes from the system's own source. Blocks only early in the system's start. Any thread.
std::expected<void, Error> fillWithRandom(std::span<std::byte> bytes);

}  // namespace brindle
