#include "core/platform/volume.h"

#include <sys/statvfs.h>

#include <cerrno>

#include "core/platform/files.h"
#include "core/platform/machine.h"

namespace brindle {

namespace {

constexpr std::string_view kOperation = "measure the volume of";

// Where the system shows no table of its mounts, the place itself stands for its volume.
std::string nameOf(const std::string& path) {
    const auto table = readFile("/proc/self/mountinfo");
    const auto holding = table ? mountPointHolding(path, *table) : std::nullopt;
    return holding.value_or(path);
}

}  // namespace

std::expected<VolumeCapacity, Error> volumeCapacity(const std::string& path) {
    const auto place = canonicalPath(path);
    if (!place) return std::unexpected(place.error());
    struct statvfs volume = {};
    while (statvfs(place->c_str(), &volume) != 0) {
        if (errno != EINTR) return std::unexpected(errorFrom(errno, kOperation, path));
    }
    if (volume.f_blocks == 0) return std::unexpected(errorFrom(ENOTSUP, kOperation, path));
    VolumeCapacity capacity{.name = nameOf(*place)};
    const std::uint64_t blockSize = volume.f_frsize;
    if (__builtin_mul_overflow(volume.f_blocks, blockSize, &capacity.totalBytes) ||
        __builtin_mul_overflow(volume.f_bavail, blockSize, &capacity.availableBytes)) {
        return std::unexpected(errorFrom(EOVERFLOW, kOperation, path));
    }
    return capacity;
}

}  // namespace brindle
