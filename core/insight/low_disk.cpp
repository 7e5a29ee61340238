#include "core/insight/low_disk.h"

#include "core/settings/preferences.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kLastAlert = "brindle.lastLowDiskAlert";
constexpr std::chrono::seconds kPause = std::chrono::days(1);

bool isRecent(const std::optional<DefaultsValue>& stored, TimePoint now) {
    const auto* last = stored ? std::get_if<TimePoint>(&*stored) : nullptr;
    return last != nullptr && *last <= now && now - *last < kPause;
}

}  // namespace

std::optional<LowDiskAlert> checkLowDisk(const std::shared_ptr<UserDefaults>& defaults,
                                         const std::optional<DiskInfo>& disk, TimePoint now) {
    const Preferences settings(defaults);
    if (!disk || !settings.lowDiskAlertsEnabled()) return std::nullopt;
    if (disk->freeBytes >= settings.lowDiskThreshold()) {
        const auto stored = defaults->value(kLastAlert);
        if (stored && *stored) (void)defaults->remove(kLastAlert);
        return std::nullopt;
    }
    // One step, so that of two processes one alerts.
    bool isTime = false;
    const auto noted = defaults->update(
        kLastAlert,
        [&](const std::optional<DefaultsValue>& stored)
            -> std::expected<std::optional<DefaultsValue>, Error> {
            isTime = !isRecent(stored, now);
            return isTime ? std::optional(DefaultsValue(std::chrono::floor<std::chrono::seconds>(now)))
                          : stored;
        });
    if (!noted || !isTime) return std::nullopt;
    return LowDiskAlert{
        CoreStrings::localized("Low disk space: %@ available", ByteFormat::shortText(disk->freeBytes)),
        CoreStrings::localized("Open Brindle to review storage. This alert does not remove anything.")};
}

}  // namespace brindle
