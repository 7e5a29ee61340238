#include "core/projects/project_activity.h"

#include <algorithm>

#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/last_used.h"
#include "core/projects/project_tables.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

using Moment = std::optional<std::chrono::sys_seconds>;

Moment modified(const std::string& path) {
    const auto status = statusOf(path);
    if (!status) return std::nullopt;
    return std::chrono::sys_seconds(std::chrono::seconds(status->modified));
}

// Where Git keeps the folder's index and HEAD: a linked worktree has a file that says so.
std::string gitFolderOf(const std::string& folder) {
    constexpr std::uint64_t kLimit = 16 * 1024;
    std::string entry = folder + "/.git";
    const auto status = statusOf(entry);
    if (!status || !status->isRegular()) return entry;
    const auto text = readFile(entry, kLimit);
    constexpr std::string_view kMark = "gitdir:";
    if (!text || !text->starts_with(kMark)) return entry;
    const std::string named(trimmed(std::string_view(*text).substr(kMark.size())));
    return named.starts_with('/') ? named : folder + "/" + named;
}

std::optional<TimePoint> asTimePoint(Moment moment) {
    // A file may claim a year that the clock cannot count to.
    constexpr auto kLatest = std::chrono::floor<std::chrono::seconds>(TimePoint::max());
    constexpr auto kEarliest = std::chrono::ceil<std::chrono::seconds>(TimePoint::min());
    if (!moment) return std::nullopt;
    return TimePoint(std::clamp(*moment, kEarliest, kLatest));
}

}  // namespace

std::optional<TimePoint> lastActivity(const std::string& folder, const std::vector<std::string>& entries) {
    Moment latest = std::max(lastUsedDate(folder), modified(folder));
    const std::string git = gitFolderOf(folder);
    for (const char* name : {"/index", "/HEAD", "/FETCH_HEAD"})
        latest = std::max(latest, modified(git + name));
    for (const std::string_view name : activityFiles()) {
        const bool isThere = std::ranges::find(entries, name) != entries.end();
        if (isThere) latest = std::max(latest, modified(folder + "/" + std::string(name)));
    }
    return asTimePoint(latest);
}

std::optional<TimePoint> lastActivity(const std::string& folder) {
    return lastActivity(folder, listFolder(folder).value_or(std::vector<std::string>()));
}

}  // namespace brindle
