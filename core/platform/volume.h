// How large a volume is, and how much of it this user can still fill.
#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "core/platform/error.h"

namespace brindle {

struct VolumeCapacity {
    // As a person knows the volume: its name on macOS, its mount point elsewhere; absent where the system
    // tells none.
    std::optional<std::string> name;
    std::uint64_t totalBytes = 0;
    // On macOS for important usage (what the system would purge counts as available); elsewhere what is free
    // to a user without special rights.
    std::uint64_t availableBytes = 0;

    bool operator==(const VolumeCapacity&) const = default;
};

// Of the volume that holds `path`, links followed. An error when nothing lies there, and when the volume has
// no capacity to tell (/proc, some network file systems): never a zero.
std::expected<VolumeCapacity, Error> volumeCapacity(const std::string& path);

// Whether files on the volume that holds `path` (links followed) can be cloned: two files that share their blocks
// without being links of each other, so that a link count is no evidence of who uses a file. What cannot be told, and
// a kind of volume that nobody has looked into, counts as yes.
bool canCloneFiles(const std::string& path);

// Whether both paths lie on one volume, and so share its capacity; links are followed in all but the last name. A volume may
// show parts of itself under device numbers of their own (subvolumes). What cannot be told counts as no.
bool isOnOneVolume(const std::string& one, const std::string& other);

// The mount point that holds `path` according to the text of Linux's /proc/self/mountinfo: the longest one
// that is the path or one of its parents. `path` is absolute, its links resolved. Absent when no line fits.
std::optional<std::string> mountPointHolding(std::string_view path, std::string_view mountinfo);

// The device behind that mount point, as the table names it; absent where it is none ("tmpfs", "overlay").
std::optional<std::string> mountedDeviceHolding(std::string_view path, std::string_view mountinfo);

}  // namespace brindle
