// Facts about this process, its user and its machine. The core asks for the count of processors and the
// limits; the user's home and the environment are for the faces, which hand them on.
#pragma once

#include <cstdint>
#include <expected>
#include <string>
#include <vector>

#include "core/platform/error.h"

namespace brindle {

// The program file that runs, absolute, links resolved.
std::expected<std::string, Error> executablePath();

// The home folder that the system's user database names for this user, whatever the environment says.
std::expected<std::string, Error> currentUserHome();

// "NAME=value", as it was handed to this process.
std::vector<std::string> currentEnvironment();

// Processors that this process may use; at least 1.
unsigned processorCount();

// How many descriptors this process may hold at once (the soft limit); the largest number when there is none.
std::uint64_t descriptorLimit();

// The same place with every link, "." and ".." resolved, absolute. An error when nothing lies there.
std::expected<std::string, Error> canonicalPath(const std::string& path);

// The same, or the path as it is when nothing lies there.
std::string canonicalOr(const std::string& path);

// Whether file modes do not stop this process.
bool isSuperuser();

}  // namespace brindle
