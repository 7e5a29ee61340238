// Duplicates: found, and put into the Trash by a cleanup like any other.
#include <algorithm>
#include <map>
#include <utility>

#include "core/insight/duplicate_trash.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/session/session.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

SafetyGuard withExports(const SafetyGuard& guard, std::set<std::string> paths) {
    SafetyScope scope = guard.scope();
    scope.exportCopies = std::move(paths);
    return SafetyGuard(std::move(scope));
}

SafetyGuard withoutProtection(const SafetyGuard& guard) {
    SafetyScope scope = guard.scope();
    scope.protectedPaths.clear();
    return SafetyGuard(std::move(scope));
}

// Whether a cleanup may take the file, or a folder above it with all that lies in it, whatever that is called. What is
// protected today need not be tomorrow.
class Fleeting {
  public:
    Fleeting(const SafetyGuard& guard, const std::string& home)
        : guard_(withoutProtection(guard)), home_(home) {}

    bool isFile(const std::string& path) {
        return isFolder(folderOf(path)) || guard_.verdictForDeleting(path).isAllowed();
    }

  private:
    bool isFolder(const std::string& folder) {
        if (!isBelow(folder, home_)) return false;
        const auto known = known_.find(folder);
        if (known != known_.end()) return known->second;
        const bool is = guard_.verdictForDeleting(folder).isAllowed() || isFolder(folderOf(folder));
        known_.emplace(folder, is);
        return is;
    }

    SafetyGuard guard_;
    const std::string& home_;
    std::map<std::string, bool> known_;
};

// Of the contents of which a copy may go.
std::set<std::string> fleetingOf(const DuplicateReport& report, const SafetyGuard& guard,
                                 const std::string& home) {
    Fleeting fleeting(guard, home);
    std::set<std::string> paths;
    for (const DuplicateGroup& group : report.groups) {
        if (std::ranges::none_of(group.files, &DuplicateFile::isDeveloperExport)) continue;
        for (const DuplicateFile& file : group.files) {
            if (fleeting.isFile(file.path)) paths.insert(file.path);
        }
    }
    return paths;
}

std::set<std::string> exportsOf(const DuplicateReport& report) {
    std::set<std::string> paths;
    for (const DuplicateGroup& group : report.groups) {
        for (const DuplicateFile& file : group.files) {
            if (file.isDeveloperExport()) paths.insert(file.path);
        }
    }
    return paths;
}

}  // namespace

std::expected<FoundDuplicates, std::string> Session::findDuplicates(DuplicateSearch search) const {
    // Also that of a session with other folders, and what is one only through a link.
    for (const std::string& bin : {trash().homeFolder(), home_.path + "/.local/share/Trash"}) {
        search.trashes.insert(canonicalOr(bin));
        search.trashes.insert(canonicalOr(bin + "/files"));
    }
    auto report = DuplicateScanner(home_.path).scan(search);
    if (!report) return std::unexpected(report.error());
    FoundDuplicates found{.report = *std::move(report), .heldBack = {}, .fleeting = {}};
    const std::set<std::string> exports = exportsOf(found.report);
    const auto settings = safetyGuard(ScanReport());
    if (!settings) {
        for (const std::string& path : exports) found.heldBack[path] = settings.error().describe();
        return found;
    }
    const SafetyGuard guard = withExports(*settings, exports);
    for (const std::string& path : exports) {
        if (const SafetyVerdict verdict = guard.verdictForDeleting(path); !verdict.isAllowed())
            found.heldBack[path] = *verdict.reason();
    }
    found.fleeting = fleetingOf(found.report, *settings, home_.path);
    for (const std::string& path : found.fleeting) {
        if (isDeveloperExport(path))
            found.heldBack.emplace(path, localized("A tool keeps it, in its cache."));
    }
    return found;
}

std::expected<CleanOutcome, CleanRefusal> Session::trashDuplicates(const TrashDuplicatesOrder& order) const {
    const auto settings = safetyGuard(ScanReport());
    if (!settings)
        return std::unexpected(
            CleanRefusal{CleanRefusal::Kind::settingsUnreadable, settings.error().describe()});
    const auto plan = DuplicateTrash::plan(
        order.report, order.selection,
        {.preferred = order.preferred, .fleeting = fleetingOf(order.report, *settings, home_.path)});
    if (!plan) return std::unexpected(CleanRefusal{CleanRefusal::Kind::nothingMayGo, plan.error()});
    CleanRequest request{.items = plan->items(), .safety = SafetyGuard({})};
    request.isCancelled = order.isCancelled;
    request.onItem = order.onItem;
    request.lastWord = [&](const CleanupItem& item) {
        return plan->lastWord(item, home_.path, order.isCancelled);
    };
    return cleanUnderLock(std::move(request), [&]() -> std::expected<SafetyGuard, Error> {
        const auto guard = safetyGuard(ScanReport());
        if (!guard) return std::unexpected(guard.error());
        return withExports(*guard, order.selection);
    });
}

}  // namespace brindle
