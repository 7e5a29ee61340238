// Adding sizes. A sum that does not fit 64 bits can only be a fault of the program or of a lying file system;
// a number shown from it would be wrong, so the program ends with a message instead.
#pragma once

#include <cstdint>

namespace brindle {

[[noreturn]] void abortOnOverflow();

inline std::uint64_t addBytes(std::uint64_t left, std::uint64_t right) {
    std::uint64_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) abortOnOverflow();
    return sum;
}

// For apparent sizes alone, which are never summed for display or freeing: a file may claim any length, so their sum
// stops at the largest number instead.
inline std::uint64_t addApparentBytes(std::uint64_t left, std::uint64_t right) {
    std::uint64_t sum = 0;
    return __builtin_add_overflow(left, right, &sum) ? ~std::uint64_t{0} : sum;
}

// Blocks of 512 bytes, as the system counts them.
inline std::uint64_t bytesOfBlocks(std::uint64_t blocks) {
    constexpr std::uint64_t kMostBlocks = (std::uint64_t{1} << 55) - 1;
    if (blocks > kMostBlocks) abortOnOverflow();
    return blocks * 512;
}

}  // namespace brindle
