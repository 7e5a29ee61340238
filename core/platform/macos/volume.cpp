#include "core/platform/volume.h"

#include <sys/attr.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/platform/macos/core_foundation.h"

namespace brindle {

namespace {

constexpr std::string_view kOperation = "measure the volume of";

std::optional<std::uint64_t> bytesUnder(CFStringRef key, CFDictionaryRef values) {
    const void* object = CFDictionaryGetValue(values, key);
    std::int64_t bytes = 0;
    if (object == nullptr || CFGetTypeID(object) != CFNumberGetTypeID()) return std::nullopt;
    if (!CFNumberGetValue(static_cast<CFNumberRef>(object), kCFNumberSInt64Type, &bytes) || bytes < 0) {
        return std::nullopt;
    }
    return static_cast<std::uint64_t>(bytes);
}

// All three in one request, so that they are of one moment.
CfOwned<CFDictionaryRef> capacityValues(const std::string& path) {
    std::array<const void*, 3> names = {kCFURLVolumeNameKey, kCFURLVolumeTotalCapacityKey,
                                        kCFURLVolumeAvailableCapacityForImportantUsageKey};
    const CfOwned<CFArrayRef> keys(
        CFArrayCreate(kCFAllocatorDefault, names.data(), 3, &kCFTypeArrayCallBacks));
    const CfOwned<CFURLRef> url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()), static_cast<CFIndex>(path.size()),
        false));
    if (!keys || !url) return CfOwned<CFDictionaryRef>(nullptr);
    return CfOwned<CFDictionaryRef>(CFURLCopyResourcePropertiesForKeys(url.get(), keys.get(), nullptr));
}

}  // namespace

std::expected<VolumeCapacity, Error> volumeCapacity(const std::string& path) {
    const auto place = canonicalPath(path);
    if (!place) return std::unexpected(place.error());
    const auto values = capacityValues(*place);
    if (!values) return std::unexpected(errorFrom(EIO, kOperation, path));
    const auto total = bytesUnder(kCFURLVolumeTotalCapacityKey, values.get());
    const auto available = bytesUnder(kCFURLVolumeAvailableCapacityForImportantUsageKey, values.get());
    if (!total || !available) return std::unexpected(errorFrom(ENOTSUP, kOperation, path));
    return VolumeCapacity{textFrom(CFDictionaryGetValue(values.get(), kCFURLVolumeNameKey)), *total,
                          *available};
}

bool isOnOneVolume(const std::string& one, const std::string& other) {
    const auto first = statusOf(one);
    const auto second = statusOf(other);
    return first && second && first->device == second->device;
}

bool canCloneFiles(const std::string& path) {
    // The layout of getattrlist(2): its own length before what was asked for.
    struct __attribute__((packed, aligned(4))) {
        std::uint32_t length = 0;
        vol_capabilities_attr_t capabilities = {};
    } answer;
    struct attrlist wanted = {};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.volattr = ATTR_VOL_INFO | ATTR_VOL_CAPABILITIES;
    if (getattrlist(path.c_str(), &wanted, &answer, sizeof(answer), 0) != 0) return true;
    const auto known = answer.capabilities.valid[VOL_CAPABILITIES_INTERFACES];
    const auto able = answer.capabilities.capabilities[VOL_CAPABILITIES_INTERFACES];
    return (known & VOL_CAP_INT_CLONE) == 0 || (able & VOL_CAP_INT_CLONE) != 0;
}

}  // namespace brindle
