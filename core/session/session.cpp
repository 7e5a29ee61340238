#include "core/session/session.h"

#include <algorithm>
#include <set>

#include "core/modules/default_modules.h"

namespace brindle {

namespace {

std::string variable(const std::vector<std::string>& environment, std::string_view name) {
    for (const std::string& entry : environment) {
        if (entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=') {
            return entry.substr(name.size() + 1);
        }
    }
    return "";
}

// A home that was named keeps its settings below itself, whatever the environment says of this user's.
std::shared_ptr<UserDefaults> defaultsFor(const SessionHome& home) {
    if (!home.isCurrentUser) return fileDefaults(home.path + "/.config/brindle/preferences.json");
    const std::string configured = variable(home.environment, "XDG_CONFIG_HOME");
    return standardDefaults(configured.starts_with('/') ? configured : home.path + "/.config");
}

// Asking for one module outranks the setting that switches it off.
std::set<ModuleID> modulesLeftOut(const Preferences& preferences, const ScanOptions& options) {
    if (!options.only) {
        return options.includeDisabled ? std::set<ModuleID>() : preferences.disabledModules();
    }
    std::set<ModuleID> others;
    for (const ModuleID module : allCases<ModuleID>()) {
        if (module != *options.only) others.insert(module);
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

}  // namespace

Session::Session(SessionHome home)
    : home_(prepared(std::move(home))),
      defaults_(defaultsFor(home_)),
      modules_(defaultModules(
          {.tools = Toolbox::of(processRunner()), .leftovers = LeftoverSettings::ofThisMachine()})) {}

Preferences Session::preferences() const {
    return Preferences(defaults_);
}

FullDiskAccess Session::fullDiskAccess() const {
    return FullDiskAccess(home_.path);
}

ProcessRunner Session::processRunner() const {
    return {home_.path, home_.environment};
}

std::vector<ModuleID> Session::modulesToRun(const ScanOptions& options) const {
    const std::set<ModuleID> leftOut = modulesLeftOut(preferences(), options);
    std::vector<ModuleID> running;
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
    return SafetyGuard({.home = home_.path,
                        .protectedPaths = settings.protectedPaths(),
                        .appLeftovers = report.vouchedLeftoverPaths()});
}

ScanReport Session::scan(const ScanOptions& options) const {
    return Scanner(modules()).scan(context(options),
                                   {
                                       .disabledModules = modulesLeftOut(preferences(), options),
                                       .protectedPaths = preferences().protectedPaths(),
                                       .includeProjects = options.includeProjects,
                                       .onModuleFinished = options.onModuleFinished,
                                       .onTimings = options.onTimings,
                                   });
}

}  // namespace brindle
