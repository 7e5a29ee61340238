#include "core/platform/last_used.h"

#include <CoreServices/CoreServices.h>

#include <cmath>

#include "core/platform/macos/core_foundation.h"

namespace brindle {

std::optional<std::chrono::sys_seconds> lastUsedDate(const std::string& path) {
    const auto name = cfText(path);
    if (!name) return std::nullopt;
    const CfOwned<MDItemRef> item(MDItemCreate(kCFAllocatorDefault, name.get()));
    if (!item) return std::nullopt;
    const CfOwned<CFTypeRef> date(MDItemCopyAttribute(item.get(), kMDItemLastUsedDate));
    if (!date || CFGetTypeID(date.get()) != CFDateGetTypeID()) return std::nullopt;
    const double seconds =
        CFDateGetAbsoluteTime(static_cast<CFDateRef>(date.get())) + kCFAbsoluteTimeIntervalSince1970;
    // Within the years that a 64-bit count of nanoseconds can name.
    if (!(std::abs(seconds) < 9e9)) return std::nullopt;
    return std::chrono::sys_seconds(std::chrono::seconds(static_cast<std::int64_t>(std::floor(seconds))));
}

}  // namespace brindle
