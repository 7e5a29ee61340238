// Duplicates: found, and put into the Trash by a cleanup like any other.
#include <utility>

#include "core/insight/duplicate_trash.h"
#include "core/session/session.h"

namespace brindle {

namespace {

SafetyGuard withExports(const SafetyGuard& guard, std::set<std::string> paths) {
    SafetyScope scope = guard.scope();
    scope.exportCopies = std::move(paths);
    return SafetyGuard(std::move(scope));
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
    search.trashes.insert(trash().homeFolder());
    auto report = DuplicateScanner(home_.path).scan(search);
    if (!report) return std::unexpected(report.error());
    FoundDuplicates found{.report = *std::move(report), .heldBack = {}};
    const std::set<std::string> exports = exportsOf(found.report);
    const auto settings = safetyGuard(ScanReport());
    const auto guard = settings ? std::optional(withExports(*settings, exports)) : std::nullopt;
    for (const std::string& path : exports) {
        if (!guard) {
            found.heldBack[path] = settings.error().describe();
        } else if (const SafetyVerdict verdict = guard->verdictForDeleting(path); !verdict.isAllowed()) {
            found.heldBack[path] = *verdict.reason();
        }
    }
    return found;
}

std::expected<CleanOutcome, CleanRefusal> Session::trashDuplicates(const TrashDuplicatesOrder& order) const {
    const auto plan = DuplicateTrash::plan(order.report, order.selection, order.preferred);
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
