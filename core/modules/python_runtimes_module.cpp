#include "core/modules/python_runtimes_module.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <set>

#include "core/modules/measured_item.h"
#include "core/modules/python_config.h"
#include "core/modules/python_usage.h"
#include "core/modules/real_folders.h"
#include "core/modules/tool_command.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

constexpr std::string_view kVersions = ".pyenv/versions";
constexpr std::string_view kEnvironments = ".virtualenvs";
constexpr std::uint64_t kEnvironmentFileLimit = 1U << 20U;

// The folder that virtualenvwrapper and its kin note down as the one an environment was made for.
std::optional<std::string> projectOf(const std::string& environment) {
    auto text = readFile(environment + "/.project", kEnvironmentFileLimit);
    if (!text) return std::nullopt;
    text->resize(std::min(text->find('\n'), text->size()));
    while (text->ends_with('/') || text->ends_with('\r') || text->ends_with(' ')) text->pop_back();
    if (!text->starts_with('/')) return std::nullopt;
    return *std::move(text);
}

// What the files inside an environment say of it.
struct Environment {
    PyvenvConfig config;
    std::optional<std::string> project;
    bool hasInterpreter = false;
    std::vector<std::string> checkouts;  // packages installed from their repository keep it, changes and all
};

std::vector<std::string> checkoutsIn(const ScanContext& context, const std::string& environment) {
    std::vector<std::string> checkouts;
    const std::string sources = environment + "/src";
    if (!context.exists(sources)) return checkouts;
    for (const ChildEntry& child : context.children(sources)) {
        if (exists(child.path + "/.git")) checkouts.emplace_back(lastComponent(child.path));
    }
    return checkouts;
}

// Absent when the folder is none.
std::optional<Environment> environmentIn(const ScanContext& context, const std::string& folder) {
    if (!exists(folder + "/pyvenv.cfg") && !exists(folder + "/bin/activate")) return std::nullopt;
    const auto text = readFile(folder + "/pyvenv.cfg", kEnvironmentFileLimit);
    return Environment{.config = text ? parsePyvenvConfig(*text) : PyvenvConfig(),
                       .project = projectOf(folder),
                       .hasInterpreter = exists(folder + "/bin/python"),
                       .checkouts = checkoutsIn(context, folder)};
}

std::string whySuggested(const Environment& environment) {
    if (!environment.hasInterpreter) return "Its interpreter is gone, so nothing runs in it any more.";
    if (!environment.project)
        return "Nothing says which project it belongs to. You can tell by its name whether you still need "
               "it.";
    if (exists(*environment.project))
        return "Its project is still there. Remove it only if you no longer work on that project.";
    return "The project it was made for is no longer there, or its drive is not connected.";
}

class RuntimeItems {
  public:
    RuntimeItems(const ScanContext& context, const PythonUsage& usage) : context_(context), usage_(usage) {}

    std::optional<CleanupItem> interpreter(const std::string& folder) const {
        const std::string name(lastComponent(folder));
        auto fields = fieldsOf("runtime." + name, "Python " + name, folder);
        if (!fields) return std::nullopt;
        const auto install = commandLineOn("pyenv install", name);
        fields->explanation = {
            "A Python interpreter that pyenv built, with every package installed into it.",
            "Projects and environments that use this version stop working until you install it again. "
            "Packages installed into it have to be installed again, too.",
            "Nothing that Brindle looked at uses it: not pyenv's global version, no known project, no "
            "environment. A project that Brindle does not know may still name it in its .python-version.",
            install ? Regeneration{Regeneration::Kind::command, *install}
                    : Regeneration{Regeneration::Kind::action, "Install it again with pyenv"},
            ageAndFileCount(context_, fields->measurement)};
        protectIfUsed(*fields, folder, commandLineOn("pyenv uninstall", name));
        return CleanupItem(*std::move(fields));
    }

    std::optional<CleanupItem> environment(const std::string& folder, const Environment& environment) const {
        const std::string name(lastComponent(folder));
        auto fields = fieldsOf("environment." + name, CoreStrings::localized("Environment %@", name), folder);
        if (!fields) return std::nullopt;
        fields->explanation = {
            "A Python environment: the packages installed for one purpose, kept apart from others.",
            "Whatever runs in it stops working until you make it again. Packages come back from your list of "
            "them; what was changed only inside the environment is lost.",
            whySuggested(environment),
            Regeneration{Regeneration::Kind::action, "Make the environment again and install its packages"},
            environmentFacts(environment, fields->measurement)};
        const auto command = commandLineOn("rmvirtualenv", name);
        protectIfUsed(*fields, folder, command);
        if (fields->classification == Classification::review && !environment.checkouts.empty()) {
            protect(*fields,
                    CoreStrings::localized("It holds repositories that may have changes of yours: %@.",
                                           fmt::format("{}", fmt::join(environment.checkouts, ", "))),
                    command);
        }
        return CleanupItem(*std::move(fields));
    }

  private:
    std::optional<CleanupItemFields> fieldsOf(const std::string& key, const std::string& title,
                                              const std::string& folder) const {
        const auto measurement = measureOccupied(context_, folder);
        if (!measurement) return std::nullopt;
        CleanupItemFields fields =
            itemFields({ModuleID::python, key, title, context_.displayPath(folder)}, *measurement);
        fields.classification = Classification::review;
        fields.removal = {DeletePaths{{folder}}};
        return fields;
    }

    void protectIfUsed(CleanupItemFields& fields, const std::string& folder,
                       const std::optional<std::string>& command) const {
        const auto users = usage_.usersOf(context_, folder);
        if (!users.empty()) {
            fields.explanation.facts.push_back({"Used by", fmt::format("{}", fmt::join(users, ", "))});
            protect(fields, CoreStrings::localized("It is in use."), command);
        } else if (!usage_.unreadable.empty()) {
            protect(fields,
                    CoreStrings::localized("Whether something uses it is unknown: %@ could not be read.",
                                           fmt::format("{}", fmt::join(usage_.unreadable, ", "))),
                    command);
        }
    }

    std::vector<Fact> environmentFacts(const Environment& environment,
                                       const DirectoryMeasurement& measurement) const {
        std::vector<Fact> facts = ageAndFileCount(context_, measurement);
        if (environment.config.version) facts.push_back({"Python", *environment.config.version});
        if (!environment.hasInterpreter) facts.push_back({"Interpreter", CoreStrings::localized("gone")});
        if (environment.project) {
            const std::string shown = context_.displayPath(*environment.project);
            const bool isThere = exists(*environment.project);
            facts.push_back({"Project", isThere ? shown : CoreStrings::localized("%@ (not there)", shown)});
        }
        return facts;
    }

    const ScanContext& context_;
    const PythonUsage& usage_;
};

ProjectPlaces knownProjects(const ScanContext& context, const std::vector<std::string>& environments) {
    ProjectPlaces projects = context.projectPlaces();
    projects.paths.insert(context.activeProjectPaths.begin(), context.activeProjectPaths.end());
    for (const std::string& environment : environments) {
        if (const auto project = projectOf(environment)) projects.paths.insert(*project);
    }
    return projects;
}

}  // namespace

bool PythonRuntimesModule::isPresent(const ScanContext& context) const {
    return context.exists(context.path(kVersions)) || context.exists(context.path(kEnvironments));
}

ModuleResult PythonRuntimesModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    if (!result.isToolchainInstalled) return result;
    const std::vector<std::string> environments = realFoldersIn(context, context.path(kEnvironments));
    const PythonUsage usage = PythonUsage::read(context, knownProjects(context, environments));
    const RuntimeItems items(context, usage);
    for (const std::string& folder : realFoldersIn(context, context.path(kVersions))) {
        if (auto item = items.interpreter(folder)) result.items.push_back(*std::move(item));
    }
    for (const std::string& folder : environments) {
        const auto environment = environmentIn(context, folder);
        if (!environment) continue;
        if (auto item = items.environment(folder, *environment)) result.items.push_back(*std::move(item));
    }
    return result;
}

}  // namespace brindle
