#include "core/scan/scan_context.h"

#include <algorithm>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/relative_age.h"

namespace brindle {

namespace {

using std::chrono::sys_seconds;

sys_seconds modifiedOrEarliest(const std::string& path) {
    const auto status = statusOf(path);
    return status ? sys_seconds(std::chrono::seconds(status->modified)) : sys_seconds::min();
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
    DirectoryMeasurement measurement =
        sizer.measureConcurrently(path, {hardlinks.get(), isCancelled, mounts});
    for (const std::string& unreadable : measurement.unreadablePaths) {
        diagnostics->record(unreadable, reasonUnreadable(unreadable));
    }
    for (const std::string& foreign : measurement.otherVolumePaths) {
        diagnostics->record(foreign, UnreachableLocation::Reason::differentVolume);
    }
    measurement.places = {path};
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
    return brindle::relativeAge(date, now);
}

std::string ScanContext::displayPath(const std::string& path) const {
    return abbreviatedPath(path, home);
}

}  // namespace brindle
