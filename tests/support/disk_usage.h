// What the system's own du says, to be compared with.
#pragma once

#include <cstdint>
#include <string>

namespace brindle::test {

// Allocated bytes below the path; each file with several names once. Throws when du cannot be run or
// complains.
std::uint64_t diskUsage(const std::string& path);

// Descriptors that this process has open.
std::size_t openDescriptors();

}  // namespace brindle::test
