// brindle project PATH
#include <ranges>
#include <utility>

#include "cli/command.h"
#include "cli/item_lookup.h"
#include "cli/project_page.h"
#include "cli/recovery_dialogue.h"
#include "cli/unreachable_view.h"
#include "core/model/project_json.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

// --- what is known ---

ScanOptions interruptible(const CommandContext& context) {
    ScanOptions options;
    options.isCancelled = context.surroundings.isInterrupted;
    return options;
}

ProjectPlace placeOf(const CommandContext& context, const std::string& folder) {
    const TaskProgress progress(context, localized("looking for projects"));
    return context.session.placeOfFolder(folder, interruptible(context));
}

std::expected<InspectedProject, Error> inspected(const CommandContext& context, const std::string& folder) {
    const TaskProgress progress(context, localized("looking at the project"));
    return context.session.inspectProject(folder, interruptible(context));
}

ProjectNeighbours neighbours(const CommandContext& context, const Project& project) {
    const TaskProgress progress(context, localized("looking for projects"));
    return context.session.neighboursOf(project, interruptible(context));
}

ProjectOffer notListed(const ProjectPlace& place, const std::string& home) {
    if (place.enclosing) {
        return {std::nullopt, localized("A scan does not list it by itself: it lies inside the project %@.",
                                        shownPath(*place.enclosing, home))};
    }
    return {std::nullopt,
            localized("A scan does not come upon it: it lies outside the folders searched for projects.")};
}

std::optional<ProjectRecovery> nextStep(const CommandContext& context, const Project& project) {
    return ProjectRecovery::next(project, detectForge(context.session.toolbox()));
}

ProjectFacts gather(const CommandContext& context, const InspectedProject& found, const ProjectPlace& place) {
    const Project& project = found.project;
    ProjectNeighbours beside = neighbours(context, project);
    const bool isListed = beside.isListed || context.surroundings.isInterrupted();
    ProjectFacts facts{.project = project,
                       .unreachable = found.unreachable,
                       .related = std::move(beside.related),
                       .disposal = ProjectDisposal::assess(project),
                       .recovery = nextStep(context, project)};
    facts.offer = isListed ? offerOf(project, offerQuestion(context, {project}))
                           : notListed(place, context.session.home());
    facts.isInterrupted = context.surroundings.isInterrupted();
    return facts;
}

// --- JSON ---

Json disposalJson(const ProjectDisposal& disposal) {
    return Json{{"verdict", rawTextOf(disposal.verdict)},
                {"headline", jsonText(disposal.headline)},
                {"consequence", jsonText(disposal.consequence)}};
}

Json recoveryJson(const std::optional<ProjectRecovery>& recovery) {
    if (!recovery) return nullptr;
    Json commands = Json::array();
    for (const RecoveryCommand& command : recovery->commands()) {
        commands.push_back({{"executable", jsonText(command.executable)},
                            {"arguments", jsonTexts(command.arguments)},
                            {"display", jsonTextOrNull(command.display())}});
    }
    return Json{{"step", rawTextOf(recovery->step)},
                {"explanation", jsonText(recovery->explanation())},
                {"commands", commands},
                {"isRunnable", recovery->isRunnable()}};
}

Json offerJson(const ProjectOffer& offer) {
    return Json{
        {"classification", offer.offeredAs ? Json(rawText(*offer.offeredAs)) : Json(nullptr)},
        {"reasonNotOffered", offer.offeredAs ? Json(nullptr) : Json(jsonText(offer.reasonNotOffered))}};
}

std::string jsonResult(const ProjectFacts& facts) {
    Json json{{"schemaVersion", 1}, {"isPartial", facts.isInterrupted || !facts.unreachable.empty()}};
    json.update(toJson(facts.project));
    json.update(toJson(facts.related));
    json["unreachable"] = Json::array();
    for (const UnreachableLocation& each : facts.unreachable) json["unreachable"].push_back(toJson(each));
    json["offer"] = offerJson(facts.offer);
    json["disposal"] = disposalJson(facts.disposal);
    json["recovery"] = recoveryJson(facts.recovery);
    return json.dump(2) + "\n";
}

// --- the command ---

Outcome recover(const CommandContext& context, const Project& project) {
    const auto step = nextStep(context, project);
    const auto& isInterrupted = context.surroundings.isInterrupted;
    const auto run = [&] {
        return step->run(context.session.toolbox(), context.session.home(), isInterrupted);
    };
    const auto stepNow = [&] {
        const auto now = inspected(context, project.path);
        return now ? nextStep(context, now->project) : std::nullopt;
    };
    return recoverAfterAsking(
        {.project = project, .step = step, .run = run, .isInterrupted = isInterrupted, .stepNow = stepNow},
        context.streams, context.look);
}

Outcome tell(const CommandContext& context, const InspectedProject& found, const ProjectPlace& place) {
    const ProjectFacts facts = gather(context, found, place);
    const PageSetting setting{context.session.home(), context.session.context({}).now, context.look};
    return {facts.isInterrupted ? ExitCode::interrupted : ExitCode::success,
            context.options.isJson ? jsonResult(facts) : projectPage(facts, setting)};
}

std::string commandOn(const std::string& project) {
    return commandLineOn("brindle project", project).value_or("brindle project PATH");
}

std::string placeText(const std::string& folder, const ProjectPlace& place, const std::string& home) {
    constexpr std::size_t kMostShown = 20;
    if (place.enclosing) {
        return localized("%@ lies inside the project %@: %@", shownPath(folder, home),
                         shownPath(*place.enclosing, home), commandOn(*place.enclosing));
    }
    std::string text = localized("%@ is no project itself. These lie inside it:", shownPath(folder, home));
    for (const std::string& each : std::views::take(place.contained, kMostShown))
        text += "\n    " + commandOn(each);
    if (place.contained.size() <= kMostShown) return text;
    const auto more = static_cast<std::int64_t>(place.contained.size() - kMostShown);
    return text + "\n    " + localized("and %@ more (--json shows all)", ByteFormat::count(more));
}

// Sizes and steps of a folder that is part of a project, or holds some, would be true of nothing.
Outcome pointElsewhere(const CommandContext& context, const std::string& folder, const ProjectPlace& place) {
    if (!context.options.isJson) {
        return refusal(context, ExitCode::notFound, placeText(folder, place, context.session.home()));
    }
    const Json json{{"schemaVersion", 1},
                    {"path", jsonText(folder)},
                    {"project", nullptr},
                    {"enclosingProject", jsonTextOrNull(place.enclosing)},
                    {"containedProjects", jsonTexts(place.contained)}};
    return {ExitCode::notFound, json.dump(2) + "\n"};
}

Outcome runOnFolder(const CommandContext& context, const std::string& folder) {
    if (isAtOrBelow(context.session.home(), folder)) {
        return refusal(
            context, ExitCode::failed,
            localized("%@ is your home folder or lies above it, and is no project", printable(folder)));
    }
    const ProjectPlace place = placeOf(context, folder);
    const bool isPointedElsewhere = !place.isProject && (place.enclosing || !place.contained.empty());
    if (isPointedElsewhere && !context.surroundings.isInterrupted())
        return pointElsewhere(context, folder, place);
    const auto found = inspected(context, folder);
    if (!found && context.surroundings.isInterrupted()) {
        return refusal(context, ExitCode::interrupted, localized("interrupted before the answer was found"));
    }
    if (!found) return refusal(context, ExitCode::failed, printable(found.error().describe()));
    return context.options.recovers ? recover(context, found->project) : tell(context, *found, place);
}

}  // namespace

Outcome runProject(const CommandContext& context) {
    const std::string& home = context.session.home();
    const auto path = absolutePath(context.options.subject, context.surroundings.workingFolder, home);
    if (!path) return refusal(context, ExitCode::failed, localized("the current folder is gone"));
    const auto folder = canonicalPath(*path);
    if (folder) return runOnFolder(context, *folder);
    if (folder.error().kind == Error::Kind::missing) {
        return refusal(context, ExitCode::notFound, localized("nothing lies at %@", shownPath(*path, home)));
    }
    return refusal(context, ExitCode::failed, printable(folder.error().describe()));
}

}  // namespace brindle
