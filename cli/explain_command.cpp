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
    if (context.options.isJson) return toJson(item).dump(2) + "\n";
    return itemPage(item, context.session.home(), context.look);
}

std::vector<CleanupItem> found(const CommandContext& context, std::optional<ModuleID> only) {
    ScanOptions options;
    options.includeProjects = !only || *only == ModuleID::projects;
    options.only = only;
    return scanShowingProgress(context, options).allItems();
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

Outcome inside(const CommandContext& context, const std::string& path,
               const std::vector<CleanupItem>& items) {
    if (!context.options.isJson) return {ExitCode::success, insideText(context, path, items)};
    Json contained = Json::array();
    for (const CleanupItem& item : items) contained.push_back(toJson(item));
    const Json json{{"path", jsonText(path)}, {"item", nullptr}, {"contains", contained}};
    return {ExitCode::success, json.dump(2) + "\n"};
}

// The scan may have been kept from the path: what it did not see it cannot rule out.
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

Outcome uncovered(const CommandContext& context, const std::string& path) {
    const bool isThere = statusOf(path).has_value();
    if (!isThere) {
        complain(context.streams, localized("nothing lies at %@, and no item covers it",
                                            shownPath(path, context.session.home())));
    }
    if (context.options.isJson) {
        return {ExitCode::notFound, Json{{"path", jsonText(path)}, {"item", nullptr}}.dump(2) + "\n"};
    }
    return {ExitCode::notFound, isThere ? uncoveredText(context, path) : ""};
}

Outcome explainPath(const CommandContext& context) {
    const std::string path =
        absolutePath(context.options.subject, context.surroundings.workingFolder, context.session.home());
    std::vector<CleanupItem> items = found(context, std::nullopt);
    const Coverage coverage = coverageOf(path, items, context.session.home());
    if (!coverage.covering.empty())
        return {unlessInterrupted(context), itemResult(context, coverage.covering.front())};
    if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    return coverage.inside.empty() ? uncovered(context, path) : inside(context, path, coverage.inside);
}

}  // namespace

Outcome runExplain(const CommandContext& context) {
    const std::string& subject = context.options.subject;
    const auto module = moduleOf(subject);
    std::vector<CleanupItem> items;
    if (module) {
        items = found(context, module);
        const auto item = std::ranges::find(items, subject, &CleanupItem::id);
        if (item != items.end()) return {unlessInterrupted(context), itemResult(context, *item)};
        if (context.surroundings.isInterrupted()) return interruptedOutcome(context);
    }
    const bool isThere =
        statusOf(absolutePath(subject, context.surroundings.workingFolder, context.session.home()))
            .has_value();
    if (looksLikePath(subject) || isThere) return explainPath(context);
    return unknownItem(context, items);
}

}  // namespace brindle
