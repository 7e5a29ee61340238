#include "core/platform/volume.h"

#include <sys/statfs.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/machine.h"

namespace brindle {

namespace {

constexpr std::string_view kOperation = "measure the volume of";

// As statfs(2) lists them: file systems that have no clones, whatever their version and options.
constexpr std::array<std::uint32_t, 7> kWithoutClones = {
    0xEF53,      // ext2, ext3, ext4
    0x01021994,  // tmpfs
    0x858458F6,  // ramfs
    0x4D44,      // FAT
    0x2011BAB0,  // exFAT
    0xF2F52010,  // F2FS
    0x482B,      // HFS+
};

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

// Subvolumes of one Btrfs have device numbers of their own, and one device behind them.
bool isOnOneVolume(const std::string& one, const std::string& other) {
    const auto first = statusOf(one);
    const auto second = statusOf(other);
    if (!first || !second) return false;
    if (first->device == second->device) return true;
    const auto table = readFile("/proc/self/mountinfo");
    const auto places = std::pair(canonicalPath(one), canonicalPath(other));
    if (!table || !places.first || !places.second) return false;
    const auto device = mountedDeviceHolding(*places.first, *table);
    return device && device == mountedDeviceHolding(*places.second, *table);
}

bool canCloneFiles(const std::string& path) {
    struct statfs volume = {};
    while (statfs(path.c_str(), &volume) != 0) {
        if (errno != EINTR) return true;
    }
    const auto kind = static_cast<std::uint32_t>(volume.f_type);
    return std::ranges::find(kWithoutClones, kind) == kWithoutClones.end();
}

}  // namespace brindle
