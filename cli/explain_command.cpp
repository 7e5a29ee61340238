// brindle explain ITEM|PATH
#include <algorithm>

#include "cli/command.h"
#include "cli/display_width.h"
#include "cli/item_lookup.h"
#include "cli/item_page.h"
#include "cli/page_rows.h"
#include "cli/unreachable_view.h"
#include "core/model/model_json.h"
#include "core/platform/file_status.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// Asks as a cleanup would, but touches nothing. Absent when Ctrl-C came: the trees are not looked at then.
std::optional<SafetyVerdict> verdictNow(const CommandContext& context, const ScanReport& report,
                                        const CleanupItem& item) {
    if (context.surroundings.isInterrupted()) return std::nullopt;
    const auto guard = context.session.safetyGuard(report);
    if (!guard) return SafetyVerdict::refused(guard.error().describe());
    SafetyVerdict verdict = guard->verdictForItem(item);
    const TaskProgress progress(context, localized("asking the safety guard"));
    for (const std::string& path : item.removal.affectedPaths()) {
        if (verdict.isAllowed()) verdict = guard->treeVerdict(path);
    }
    return verdict;
}

SafetyVerdict verdictOnPath(const CommandContext& context, const ScanReport& report,
                            const std::string& path) {
    const auto guard = context.session.safetyGuard(report);
    return guard ? guard->verdictForDeleting(path) : SafetyVerdict::refused(guard.error().describe());
}

Json guardJson(const std::optional<SafetyVerdict>& verdict) {
    if (!verdict) return nullptr;
    return Json{{"isAllowed", verdict->isAllowed()}, {"reason", jsonTextOrNull(verdict->reason())}};
}

std::string itemResult(const CommandContext& context, const ScanReport& report, const CleanupItem& item) {
    const auto verdict = verdictNow(context, report, item);
    if (!context.options.isJson) return itemPage(item, context.session.home(), context.look, verdict);
    Json json{{"schemaVersion", 1}};
    json.update(toJson(item));
    json["guard"] = guardJson(verdict);
    return json.dump(2) + "\n";
}

// A disabled module is left out of the report, not out of the answer.
ScanReport found(const CommandContext& context, std::optional<ModuleID> only) {
    ScanOptions options;
    options.includeProjects = !only || *only == ModuleID::projects;
    options.includeDisabled = true;
    options.includeSurvey = false;
    if (only) options.only = {*only};
    return scanShowingProgress(context, options).report;
}

Outcome interruptedOutcome(const CommandContext& context) {
    return refusal(context, ExitCode::interrupted, localized("interrupted before the answer was found"));
}

Outcome unknownItem(const CommandContext& context, const std::vector<CleanupItem>& items) {
    return refusal(context, ExitCode::notFound, unknownItemText(context.options.subject, items));
}

std::string insideText(const CommandContext& context, const std::string& path,
                       const std::vector<CleanupItem>& items) {
    const ScanContext clock = context.session.context({});
    ItemTable table(context.look, [clock](auto date) { return clock.relativeAge(date); });
    for (const CleanupItem& item : items) table.makeRoomFor(item);
    std::string text;
    for (const std::string& line : wrap(
             localized("%@ is no item itself. These lie inside it:", shownPath(path, context.session.home())),
             context.look.width)) {
        text += line + "\n";
    }
    for (const CleanupItem& item : items) text += table.lines(item);
    return text;
}

Json pathJson(const std::string& path) {
    return Json{{"schemaVersion", 1}, {"path", jsonText(path)}, {"item", nullptr}};
}

Outcome inside(const CommandContext& context, const std::string& path,
               const std::vector<CleanupItem>& items) {
    if (!context.options.isJson) return {ExitCode::success, insideText(context, path, items)};
    Json json = pathJson(path);
    json["contains"] = Json::array();
    for (const CleanupItem& item : items) json["contains"].push_back(toJson(item));
    return {ExitCode::success, json.dump(2) + "\n"};
}

std::string uncoveredText(const CommandContext& context, const std::string& path,
                          const SafetyVerdict& verdict) {
    const std::string guard =
        verdict.isAllowed()
            ? localized(
                  "The safety guard has nothing against the path; but what no item offers is never removed.")
            : localized("The safety guard would refuse it, too: %@",
                        printable(verdict.reason().value_or("")));
    return paragraphText(
               localized("No item covers %@. Brindle suggests nothing about it and leaves it alone.",
                         shownPath(path, context.session.home())),
               0, context.look) +
           paragraphText(guard, 0, context.look);
}

// What was not looked at cannot be ruled out: that is no "not found".
Outcome unseen(const CommandContext& context, const std::string& path, const std::string& problem) {
    complain(context.streams, problem);
    if (!context.options.isJson) return {ExitCode::failed, ""};
    Json json = pathJson(path);
    json["problem"] = jsonText(problem);
    return {ExitCode::failed, json.dump(2) + "\n"};
}

std::string obstacleText(const Obstacle& obstacle, const std::string& path, const std::string& home) {
    const std::string place = shownPath(obstacle.location.path, home);
    const std::string reason = label(obstacle.location.reason);
    const std::string sentence =
        obstacle.isInside
            ? localized("no item covers %@, but not all of it could be looked at (%@: %@).",
                        shownPath(path, home), place, reason)
            : localized("%@ could not be looked at (%@: %@).", shownPath(path, home), place, reason);
    return sentence + " " + obstacle.location.remedy();
}

Outcome uncovered(const CommandContext& context, const std::string& path, const ScanReport& report) {
    const std::string& home = context.session.home();
    const auto status = statusOf(path);
    const bool isMissing = !status && status.error().kind == Error::Kind::missing;
    if (isMissing) {
        complain(context.streams,
                 localized("nothing lies at %@, and no item covers it", shownPath(path, home)));
    } else if (const auto obstacle = obstacleFor(path, report.unreachable())) {
        return unseen(context, path, obstacleText(*obstacle, path, home));
    } else if (!status) {
        return unseen(context, path, status.error().describe());
    }
    const SafetyVerdict verdict = verdictOnPath(context, report, path);
    if (!context.options.isJson)
        return {ExitCode::notFound, isMissing ? "" : uncoveredText(context, path, verdict)};
    Json json = pathJson(path);
    json["guard"] = guardJson(verdict);
    return {ExitCode::notFound, json.dump(2) + "\n"};
}

Outcome explainPath(const CommandContext& context, const std::string& path) {
    const ScanReport report = found(context, std::nullopt);
    const Coverage coverage = coverageOf(path, report.allItems(), context.session.home());
    if (!coverage.covering.empty())
        return {unlessInterrupted(context), itemResult(context, report, coverage.covering.front())};
    if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    return coverage.inside.empty() ? uncovered(context, path, report)
                                   : inside(context, path, coverage.inside);
}

}  // namespace

Outcome runExplain(const CommandContext& context) {
    const std::string& subject = context.options.subject;
    const auto module = moduleNamedBy(subject);
    std::vector<CleanupItem> items;
    if (module) {
        const ScanReport report = found(context, module);
        items = report.allItems();
        const auto item = std::ranges::find(items, subject, &CleanupItem::id);
        if (item != items.end()) return {unlessInterrupted(context), itemResult(context, report, *item)};
        if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    }
    const auto path = absolutePath(subject, context.surroundings.workingFolder, context.session.home());
    // An item of a project is named by a path: what looks like one and lies nowhere is a name gone wrong.
    const bool isItem = subject.starts_with("projects./") && !(path && statusOf(*path));
    const bool isPath = looksLikePath(subject) && !isItem;
    if (path && (isPath || statusOf(*path))) return explainPath(context, *path);
    if (!isPath) return unknownItem(context, items);
    complain(context.streams, localized("the current folder is gone"));
    return {ExitCode::failed, ""};
}

}  // namespace brindle
