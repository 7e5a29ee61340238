// Whether two files lie on the same blocks of the disk.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

// Where a file's bytes lie. Two files with equal places share all of their storage, so that removing one frees nothing.
using StoragePlaces = std::vector<std::uint64_t>;

// Absent when the file shares nothing, shares only a part, or the system does not tell. Links are not followed.
std::optional<StoragePlaces> sharedStorageOf(const std::string& path);

}  // namespace brindle
