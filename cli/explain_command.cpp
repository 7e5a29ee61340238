// brindle explain ITEM|PATH
#include <algorithm>

#include "cli/command.h"
#include "cli/display_width.h"
#include "cli/item_lookup.h"
#include "cli/item_page.h"
#include "cli/suggestion.h"
#include "cli/unreachable_view.h"
#include "core/model/model_json.h"
#include "core/platform/file_status.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

// The module whose items begin like this; absent for what can only be a path.
std::optional<ModuleID> moduleOf(const std::string& subject) {
    const std::size_t dot = subject.find('.');
    if (dot == std::string::npos || dot + 1 == subject.size()) return std::nullopt;
    return moduleIDFrom(subject.substr(0, dot));
}

bool looksLikePath(const std::string& subject) {
    return subject.contains('/') || subject.starts_with('~') || subject.starts_with('.');
}

std::string itemResult(const CommandContext& context, const CleanupItem& item) {
    if (context.options.isJson) {
        Json json{{"schemaVersion", 1}};
        json.update(toJson(item));
        return json.dump(2) + "\n";
    }
    return itemPage(item, context.session.home(), context.look);
}

// A disabled module is left out of the report, not out of the answer.
ScanReport found(const CommandContext& context, std::optional<ModuleID> only) {
    ScanOptions options;
    options.includeProjects = !only || *only == ModuleID::projects;
    options.includeDisabled = true;
    options.only = only;
    return scanShowingProgress(context, options).report;
}

Outcome interruptedOutcome(const CommandContext& context) {
    complain(context.streams, localized("interrupted before the answer was found"));
    return {ExitCode::interrupted, ""};
}

Outcome unknownItem(const CommandContext& context, const std::vector<CleanupItem>& items) {
    const std::string& subject = context.options.subject;
    std::vector<std::string> known;
    for (const CleanupItem& item : items) known.push_back(item.id);
    std::string sentence = localized("this scan found no item %@", printable(subject));
    const auto close = closest(subject, known);
    sentence += close ? localized("; did you mean %@?", printable(*close))
                      : localized("; \"brindle scan\" lists the items that are there");
    complain(context.streams, sentence);
    return {ExitCode::notFound, ""};
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

std::string uncoveredText(const CommandContext& context, const std::string& path) {
    std::string text;
    for (const std::string& line :
         wrap(localized("No item covers %@. Brindle suggests nothing about it and leaves it alone.",
                        shownPath(path, context.session.home())),
              context.look.width)) {
        text += line + "\n";
    }
    return text;
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
    if (context.options.isJson) return {ExitCode::notFound, pathJson(path).dump(2) + "\n"};
    return {ExitCode::notFound, isMissing ? "" : uncoveredText(context, path)};
}

Outcome explainPath(const CommandContext& context, const std::string& path) {
    const ScanReport report = found(context, std::nullopt);
    const Coverage coverage = coverageOf(path, report.allItems(), context.session.home());
    if (!coverage.covering.empty())
        return {unlessInterrupted(context), itemResult(context, coverage.covering.front())};
    if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    return coverage.inside.empty() ? uncovered(context, path, report)
                                   : inside(context, path, coverage.inside);
}

}  // namespace

Outcome runExplain(const CommandContext& context) {
    const std::string& subject = context.options.subject;
    const auto module = moduleOf(subject);
    std::vector<CleanupItem> items;
    if (module) {
        items = found(context, module).allItems();
        const auto item = std::ranges::find(items, subject, &CleanupItem::id);
        if (item != items.end()) return {unlessInterrupted(context), itemResult(context, *item)};
        if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    }
    const auto path = absolutePath(subject, context.surroundings.workingFolder, context.session.home());
    const bool isPath = looksLikePath(subject);
    if (path && (isPath || statusOf(*path))) return explainPath(context, *path);
    if (!isPath) return unknownItem(context, items);
    complain(context.streams, localized("the current folder is gone"));
    return {ExitCode::failed, ""};
}

}  // namespace brindle
