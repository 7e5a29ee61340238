#include "core/scan/scan_context.h"

#include <algorithm>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

using std::chrono::sys_seconds;

sys_seconds modifiedOrEarliest(const std::string& path) {
    const auto status = statusOf(path);
    return status ? sys_seconds(std::chrono::seconds(status->modified)) : sys_seconds::min();
}

// What vanished during the walk could not be read either, but nobody need look for permissions.
UnreachableLocation::Reason reasonOf(const std::string& unreadable) {
    const auto status = statusOf(unreadable);
    const bool isGone = !status && status.error().kind == Error::Kind::missing;
    return isGone ? UnreachableLocation::Reason::missing : UnreachableLocation::Reason::permissionDenied;
}

// Behind a folder that cannot be entered nobody knows what lies: that folder is named, nearest first.
void recordObstacle(const std::string& path, ScanDiagnostics& diagnostics) {
    auto status = statusOf(path);
    if (status || status.error().kind == Error::Kind::missing) return;
    std::string obstacle = path;
    while (!status && obstacle.find_last_of('/') != 0) {
        obstacle.resize(obstacle.find_last_of('/'));
        status = statusOf(obstacle);
    }
    diagnostics.record(obstacle, UnreachableLocation::Reason::permissionDenied);
}

std::string joined(std::string folder, std::string_view relative) {
    if (!folder.ends_with('/')) folder += '/';
    return folder.append(relative);
}

}  // namespace

std::string ScanContext::path(std::string_view relative) const {
    return joined(home, relative);
}

bool ScanContext::exists(const std::string& path) const {
    return brindle::exists(path);
}

std::optional<DirectoryMeasurement> ScanContext::measure(const std::string& path) const {
    if (isCancelled()) return std::nullopt;
    if (!exists(path)) {
        recordObstacle(path, *diagnostics);
        return std::nullopt;
    }
    DirectoryMeasurement measurement = sizer.measureConcurrently(path, {hardlinks.get(), isCancelled});
    for (const std::string& unreadable : measurement.unreadablePaths) {
        diagnostics->record(unreadable, reasonOf(unreadable));
    }
    for (const std::string& foreign : measurement.otherVolumePaths) {
        diagnostics->record(foreign, UnreachableLocation::Reason::differentVolume);
    }
    return measurement;
}

std::vector<ChildEntry> ScanContext::children(const std::string& path) const {
    auto names = listFolder(path);
    if (!names) {
        if (exists(path)) diagnostics->record(path, UnreachableLocation::Reason::permissionDenied);
        if (!exists(path)) recordObstacle(path, *diagnostics);
        return {};
    }
    std::ranges::sort(*names);
    std::vector<ChildEntry> children;
    for (const std::string& name : *names) {
        if (name.starts_with('.')) continue;
        const std::string child = joined(path, name);
        children.push_back({child, modifiedOrEarliest(child)});
    }
    return children;
}

std::optional<int> ScanContext::days(std::optional<sys_seconds> since) const {
    if (!since) return std::nullopt;
    return wholeDaysBetween(*since, std::chrono::floor<std::chrono::seconds>(now));
}

std::string ScanContext::relativeAge(std::optional<sys_seconds> date) const {
    const auto age = days(date);
    if (!age) return CoreStrings::localized("unknown");
    if (*age < 1) return CoreStrings::localized("today");
    if (*age == 1) return CoreStrings::localized("yesterday");
    if (*age < 30) return CoreStrings::plural("count.daysAgo", *age);
    if (*age < 60) return CoreStrings::localized("last month");
    if (*age < 365) return CoreStrings::plural("count.monthsAgo", *age / 30);
    return CoreStrings::localized("over a year ago");
}

std::string ScanContext::displayPath(const std::string& path) const {
    return abbreviatedPath(path, home);
}

}  // namespace brindle
