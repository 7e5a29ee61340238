// brindle projects
#include <algorithm>

#include "cli/command.h"
#include "cli/project_list.h"
#include "core/model/project_json.h"
#include "core/scan/report_json.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// Relations are those to all projects, also to the ones that are not listed.
std::string jsonResult(const CommandContext& context, const FoundProjects& found,
                       const std::vector<Project>& shown) {
    ScanReport all;
    all.projects = found.projects;
    Json unreachable = Json::array();
    for (const UnreachableLocation& each : found.unreachable) unreachable.push_back(toJson(each));
    const Json json{
        {"schemaVersion", 1},
        {"home", jsonText(context.session.home())},
        {"isPartial", context.surroundings.isInterrupted() || !found.unreachable.empty()},
        {"projects", projectsJson(shown, all.projectRelations())},
        {"unreachable", unreachable},
    };
    return json.dump(2) + "\n";
}

std::string textResult(const CommandContext& context, const FoundProjects& found,
                       const std::vector<Project>& shown) {
    const OfferQuestion question = offerQuestion(context, found.projects);
    ProjectListPage page{.projects = {},
                         .foundCount = found.projects.size(),
                         .unreachable = found.unreachable,
                         .roots = context.session.preferences().projectRoots(),
                         .home = context.session.home(),
                         .now = question.now,
                         .isInterrupted = context.surroundings.isInterrupted(),
                         .look = context.look};
    for (const Project& project : shown) page.projects.push_back({project, offerOf(project, question)});
    return projectListText(page);
}

}  // namespace

FoundProjects projectsShowingProgress(const CommandContext& context) {
    const TaskProgress progress(context, localized("looking for projects"));
    ScanOptions options;
    options.isCancelled = context.surroundings.isInterrupted;
    return context.session.findProjects(options);
}

OfferQuestion offerQuestion(const CommandContext& context, const std::vector<Project>& projects) {
    ScanReport report;
    report.projects = projects;
    const auto guard = context.session.safetyGuard(report);
    const auto running = context.session.modulesToRun({});
    return {.home = context.session.home(),
            .now = context.session.context({}).now,
            .verdict =
                [guard](const CleanupItem& item) {
                    return guard ? guard->verdictForItem(item)
                                 : SafetyVerdict::refused(guard.error().describe());
                },
            .isEnabled = std::ranges::find(running, ModuleID::projects) != running.end()};
}

Outcome runProjects(const CommandContext& context) {
    const FoundProjects found = projectsShowingProgress(context);
    std::vector<Project> shown = found.projects;
    if (context.options.onlyDormant) {
        const TimePoint now = context.session.context({}).now;
        std::erase_if(shown, [now](const Project& project) { return !project.isDormant(now); });
    }
    sortProjects(shown, context.options.order);
    return {unlessInterrupted(context),
            context.options.isJson ? jsonResult(context, found, shown) : textResult(context, found, shown)};
}

}  // namespace brindle
