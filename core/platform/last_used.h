// When the user last opened something, where the system keeps a record of it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace brindle {

// macOS: what Spotlight knows as the last-used date of the file or folder. Absent where it knows none, for paths that
// are no UTF-8, and on every other system. Any thread.
std::optional<std::chrono::sys_seconds> lastUsedDate(const std::string& path);

}  // namespace brindle
