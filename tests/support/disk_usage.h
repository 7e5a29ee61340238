// What the system's own du says, to be compared with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace brindle::test {

// Allocated bytes of the paths and all below them; each file with several names once. Throws when du cannot
// be run.
std::uint64_t diskUsage(const std::vector<std::string>& paths);
inline std::uint64_t diskUsage(const std::string& path) {
    return diskUsage(std::vector{path});
}

// Descriptors that this process has open.
std::size_t openDescriptors();

}  // namespace brindle::test
