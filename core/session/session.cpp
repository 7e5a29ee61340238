#include "core/session/session.h"

#include <algorithm>
#include <set>

#include "core/modules/default_modules.h"
#include "core/platform/known_folders.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/projects/project_collector.h"
#include "core/projects/project_detector.h"
#include "core/projects/project_outline.h"
#include "core/projects/project_relations.h"
#include "core/projects/project_tables.h"
#include "core/text/ascii.h"

namespace brindle {

namespace {

std::string valueOf(const std::vector<std::string>& environment, std::string_view name) {
    for (const std::string& entry : environment) {
        if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
            return entry.substr(name.size() + 1);
        }
    }
    return "";
}

std::string configFolderOf(const SessionHome& home) {
    const std::string configured = valueOf(home.environment, "XDG_CONFIG_HOME");
    return configured.starts_with('/') ? configured : home.path + "/.config";
}

// A home that was named keeps its settings below itself, whatever the environment says of this user's.
std::shared_ptr<UserDefaults> defaultsFor(const SessionHome& home) {
    if (!home.isCurrentUser) return fileDefaults(home.path + "/.config/brindle/preferences.json");
    return standardDefaults(configFolderOf(home));
}

// Asking for one module outranks the setting that switches it off.
std::set<ModuleID> modulesLeftOut(const Preferences& preferences, const ScanOptions& options) {
    if (options.only.empty()) {
        return options.includeDisabled ? std::set<ModuleID>() : preferences.disabledModules();
    }
    std::set<ModuleID> others;
    for (const ModuleID module : allCases<ModuleID>()) {
        if (!options.only.contains(module)) others.insert(module);
    }
    return others;
}

// A tool that is asked about a named home must speak of that home's data, not of this user's.
SessionHome prepared(SessionHome home) {
    while (home.path.size() > 1 && home.path.ends_with('/')) home.path.pop_back();
    if (home.isCurrentUser) return home;
    std::erase_if(home.environment, [](const std::string& entry) {
        return entry.starts_with("HOME=") || entry.starts_with("XDG_");
    });
    home.environment.push_back("HOME=" + home.path);
    return home;
}

std::vector<UnreachableLocation> unreachableOf(const ScanContext& context) {
    std::vector<UnreachableLocation> unreachable;
    for (const auto& [path, reason] : context.diagnostics->entries()) {
        unreachable.push_back(UnreachableLocation::withDefaultRemedy(path, reason));
    }
    return unreachable;
}

// Of the modules that looked into all that they wanted to. What projects and applications that are gone take up is
// counted from the day on which it is offered: it has not grown when that day comes.
std::map<ModuleID, std::uint64_t> wholeTotals(const ScanReport& report) {
    std::map<ModuleID, std::uint64_t> totals;
    for (const ModuleResult& module : report.modules) {
        const bool isOffer = module.moduleID == ModuleID::projects || module.moduleID == ModuleID::leftovers;
        if (!isOffer && module.unreachable.empty()) totals[module.moduleID] = module.totalBytes();
    }
    return totals;
}

// A root that holds such a folder is one, too.
bool isBehindPrompt(const std::string& root, const std::string& home) {
    const std::string named = root.starts_with('/') ? root : home + "/" + root;
    // Such a system may not tell the case of names apart.
    const std::string path = lowerCase(canonicalOr(named));
    return std::ranges::any_of(foldersBehindPrompts(), [&](std::string_view folder) {
        const std::string guarded =
            lowerCase(folder.starts_with('/') ? std::string(folder) : home + "/" + std::string(folder));
        return isAtOrBelow(path, guarded) || isAtOrBelow(guarded, path);
    });
}

}  // namespace

Session::Session(SessionHome home)
    : home_(prepared(std::move(home))),
      defaults_(defaultsFor(home_)),
      modules_(defaultModules({.tools = toolbox(), .leftovers = LeftoverSettings::ofThisMachine()})) {}

Preferences Session::preferences() const {
    return Preferences(defaults_);
}

FullDiskAccess Session::fullDiskAccess() const {
    return FullDiskAccess(home_.path);
}

ProcessRunner Session::processRunner() const {
    return {home_.path, home_.environment};
}

Toolbox Session::toolbox() const {
    return Toolbox::of(processRunner());
}

std::string Session::variable(std::string_view name) const {
    return valueOf(home_.environment, name);
}

std::string Session::configFolder() const {
    return configFolderOf(home_);
}

std::vector<ModuleID> Session::modulesToRun(const ScanOptions& options) const {
    const std::set<ModuleID> leftOut = modulesLeftOut(preferences(), options);
    std::vector<ModuleID> running;
    if (options.includeProjects && !leftOut.contains(ModuleID::projects))
        running.push_back(ModuleID::projects);
    for (const auto& module : modules()) {
        if (!leftOut.contains(module->id())) running.push_back(module->id());
    }
    return running;
}

ScanContext Session::context(const ScanOptions& options) const {
    ScanContext context;
    context.home = home_.path;
    context.now = std::chrono::system_clock::now();
    context.isCancelled = options.isCancelled;
    return context;
}

std::expected<SafetyGuard, Error> Session::safetyGuard(const ScanReport& report) const {
    const Preferences settings = preferences();
    if (auto readable = settings.readable(); !readable) return std::unexpected(readable.error());
    // What lies in the Trash, and the record of it, must outlive every cleanup.
    std::set<std::string> protectedPaths = settings.protectedPaths();
    protectedPaths.insert({trash().homeFolder(), history().directory()});
    return SafetyGuard({.home = home_.path,
                        .protectedPaths = std::move(protectedPaths),
                        .projectArtifacts = report.vouchedProjectPaths(),
                        .artifactNames = artifactNames(),
                        .appLeftovers = report.vouchedLeftoverPaths()});
}

ProjectSearch Session::projectSearch(const ScanContext& context) const {
    return {.home = context.home,
            .roots = preferences().projectRoots(),
            .now = context.now,
            .artifactHardlinks = context.hardlinks.get(),
            .report = [diagnostics = context.diagnostics](
                          const std::string& path,
                          UnreachableLocation::Reason reason) { diagnostics->record(path, reason); },
            .isCancelled = context.isCancelled,
            .mounts = context.mounts};
}

FoundProjects Session::findProjects(const ScanOptions& options) const {
    const ScanContext shared = context(options);
    FoundProjects found{ProjectDetector(toolbox()).discover(projectSearch(shared)), {}};
    found.unreachable = unreachableOf(shared);
    return found;
}

std::expected<InspectedProject, Error> Session::inspectProject(const std::string& folder,
                                                               const ScanOptions& options) const {
    const ScanContext shared = context(options);
    auto project = ProjectDetector(toolbox()).inspect(folder, projectSearch(shared));
    if (!project) return std::unexpected(std::move(project.error()));
    return InspectedProject{*std::move(project), unreachableOf(shared)};
}

ProjectPlace Session::placeOfFolder(const std::string& folder, const ScanOptions& options) const {
    return placeAmongProjects(folder, projectSearch(context(options)));
}

ProjectNeighbours Session::neighboursOf(const Project& project, const ScanOptions& options) const {
    const ScanContext shared = context(options);
    const ProjectSearch search = projectSearch(shared);
    const std::vector<ProjectFolder> found = collectProjects(search);
    return {.isListed = std::ranges::find(found, project.path, &ProjectFolder::path) != found.end(),
            .related = relationsOf(project, outlinesFor(project, found, search, toolbox()))};
}

// Where nothing is guarded, or access was granted, there is nothing to ask.
bool Session::asksNobody(const ScanOptions& options) const {
    return !options.isUnattended || fullDiskAccess().isGranted();
}

ScanReport Session::scan(const ScanOptions& options) const {
    std::set<ModuleID> leftOut = modulesLeftOut(preferences(), options);
    std::vector<std::string> roots = preferences().projectRoots();
    if (!asksNobody(options)) {
        // They look at the data of other applications.
        if (!foldersBehindPrompts().empty()) leftOut.insert({ModuleID::leftovers, ModuleID::docker});
        std::erase_if(roots, [this](const std::string& root) { return isBehindPrompt(root, home_.path); });
    }
    ScanReport report =
        Scanner(modules()).scan(context(options), {
                                                      .disabledModules = std::move(leftOut),
                                                      .protectedPaths = preferences().protectedPaths(),
                                                      .includeProjects = options.includeProjects,
                                                      .projectRoots = std::move(roots),
                                                      .tools = toolbox(),
                                                      .survey = surveyRequest(options),
                                                      .onModuleFinished = options.onModuleFinished,
                                                      .onTimings = options.onTimings,
                                                  });
    recordSample(report, options);
    return report;
}

std::optional<SurveyRequest> Session::surveyRequest(const ScanOptions& options) const {
    if (!options.includeSurvey || !options.only.empty()) return std::nullopt;
    return SurveyRequest{userFolders(home_.path, home_.environment), !options.isUnattended};
}

// Not to be had on a full disk or in a read-only home, and then no matter.
void Session::recordSample(const ScanReport& report, const ScanOptions& options) const {
    const TimePoint now = std::chrono::system_clock::now();
    if (report.disk) (void)trend().record(*report.disk, now);
    if (options.isCancelled()) return;
    (void)trend().recordTotals(wholeTotals(report), now);
}

}  // namespace brindle
