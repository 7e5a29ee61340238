// The keys under which the settings are stored, and what stands for a setting that is not.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "core/model/cadence.h"

namespace brindle {

// Persisted: a key never changes.
namespace settingKey {
inline constexpr std::string_view kDisabledModules = "brindle.disabledModules";
inline constexpr std::string_view kProjectRoots = "brindle.projectRoots";
inline constexpr std::string_view kProtectedPaths = "brindle.protectedPaths";
inline constexpr std::string_view kLowDiskAlerts = "brindle.lowDiskAlerts";
inline constexpr std::string_view kLowDiskThreshold = "brindle.lowDiskThreshold";
inline constexpr std::string_view kAutoClean = "brindle.autoClean";
inline constexpr std::string_view kScheduledScans = "brindle.scheduledScans";
inline constexpr std::string_view kCadence = "brindle.cadence";
inline constexpr std::string_view kLastScheduledRun = "brindle.lastScheduledRun";
inline constexpr std::string_view kNotifyThreshold = "brindle.notifyThresholdBytes";
inline constexpr std::string_view kOnboarded = "brindle.onboarded";
inline constexpr std::string_view kLanguage = "brindle.language";
}  // namespace settingKey

inline constexpr std::uint64_t kDefaultThresholdBytes = 20'000'000'000;
inline constexpr Cadence kDefaultCadence = Cadence::weekly;
// Relative to the home folder, searched in this order.
inline constexpr std::array<std::string_view, 10> kDefaultProjectRoots = {
    "Projects", "Developer", "Code", "code", "src", "dev", "work", "repos", "Documents/GitHub", "Sites"};
inline constexpr std::array<std::string_view, 5> kAvailableLanguages = {"en", "pt-PT", "es", "fr", "de"};

}  // namespace brindle
