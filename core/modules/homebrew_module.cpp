#include "core/modules/homebrew_module.h"

#include <fmt/ranges.h>

#include <algorithm>
#include <set>

#include "core/modules/homebrew_output.h"
#include "core/modules/measured_item.h"
#include "core/platform/file_status.h"

namespace brindle {

namespace {

constexpr std::string_view kCacheFolder = "Library/Caches/Homebrew";
constexpr std::chrono::seconds kCellarTimeout{15};
constexpr std::chrono::seconds kDryRunTimeout{60};   // it reads every installed formula
constexpr std::size_t kBrewAnswerLimit = 1U << 20U;  // its answers are some kilobytes

// Another run of Homebrew holds a lock; or it wants the user's password.
const std::vector<std::string>& brewWaitingPhrases() {
    static const std::vector<std::string> kPhrases = {"Another active Homebrew", "already locked",
                                                      "Password:"};
    return kPhrases;
}

const RunCommand& cleanup() {
    static const RunCommand kCommand{.executable = "brew", .arguments = {"cleanup", "--prune=all"}};
    return kCommand;
}
const RunCommand& autoremove() {
    static const RunCommand kCommand{.executable = "brew", .arguments = {"autoremove"}};
    return kCommand;
}

// Folder by folder, so that a file which also has a name in a kept one is counted all the same: cleanup removes this
// name. Through a link lies what another place counts.
std::optional<DirectoryMeasurement> measureRemovable(const ScanContext& context, const std::string& folder) {
    const auto status = statusOf(folder);
    if (!status || !status->isFolder()) return std::nullopt;
    constexpr auto kKept = HomebrewModule::keptByCleanup();
    DirectoryMeasurement sum;
    for (const ChildEntry& child : context.children(folder)) {
        const std::string_view name = std::string_view(child.path).substr(folder.size() + 1);
        if (std::ranges::find(kKept, name) != kKept.end()) continue;
        if (const auto measurement = measureOccupied(context, child.path)) sum += *measurement;
    }
    return sum.allocatedBytes > 0 ? std::optional(std::move(sum)) : std::nullopt;
}

struct Kegs {
    std::vector<std::string> folders;  // those that were there and occupy something
    DirectoryMeasurement measurement;
};

Kegs measureKegs(const ScanContext& context, const std::string& cellar,
                 const std::vector<std::string>& names) {
    Kegs kegs;
    std::set<std::string> seen;
    for (const std::string& name : names) {
        std::string folder = cellar + "/" + cellarFolderName(name);
        if (!seen.insert(folder).second) continue;
        const auto measurement = measureOccupied(context, folder);
        if (!measurement) continue;
        kegs.measurement += *measurement;
        kegs.folders.push_back(context.displayPath(folder));
    }
    return kegs;
}

CleanupItem dependenciesItem(const std::string& cellar, const std::vector<std::string>& names,
                             const Kegs& kegs) {
    CleanupItemFields fields = itemFields(
        {ModuleID::homebrew, "autoremove", "Unused Homebrew dependencies", cellar}, kegs.measurement);
    fields.classification = Classification::review;
    fields.removal = {autoremove()};
    fields.explanation = {
        "Dependencies Homebrew says no installed formula or cask needs. Your own scripts may still use them.",
        "brew autoremove permanently uninstalls the dependencies it considers unused at cleanup time. They "
        "do not go to the Trash. Homebrew checks the dependency graph again, so the set can change after "
        "this scan.",
        "brew autoremove --dry-run lists exactly these: installed as dependencies of something else, and "
        "needed by nothing that is still installed.",
        Regeneration{Regeneration::Kind::command, fmt::format("brew install {}", fmt::join(names, " "))},
        {{"Packages", fmt::format("{}", fmt::join(names, ", "))},
         {"Measured paths", fmt::format("{}", fmt::join(kegs.folders, ", "))},
         {"Removed via", fields.removal.description()}}};
    return CleanupItem(std::move(fields));
}

}  // namespace

bool HomebrewModule::isPresent(const ScanContext&) const {
    return tools_.locate("brew").has_value();
}

ModuleResult HomebrewModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    if (!result.isToolchainInstalled) return result;
    if (auto item = downloads(context)) result.items.push_back(std::move(*item));
    addUnusedDependencies(context, result);
    return result;
}

std::optional<CleanupItem> HomebrewModule::downloads(const ScanContext& context) {
    for (const std::string& folder : foldersInHome(context, std::string(kCacheFolder))) {
        const auto measurement = measureRemovable(context, folder);
        if (context.isCancelled()) return std::nullopt;
        if (!measurement) continue;
        CleanupItemFields fields = itemFields(
            {ModuleID::homebrew, "cache", "Homebrew downloads", context.displayPath(folder)}, *measurement);
        fields.classification = Classification::safe;
        fields.removal = {cleanup()};
        fields.explanation = {
            "Downloaded bottles and source archives. The size shown is the measured download cache.",
            "Homebrew downloads these again if needed. Cleanup may also remove old installed versions; "
            "unused dependencies are handled separately.",
            "It is a download cache. Homebrew fetches a bottle again the next time it installs or upgrades "
            "that formula.",
            Regeneration{Regeneration::Kind::automatic, "Homebrew re-downloads when needed"},
            ageAndFileCount(context, *measurement)};
        return CleanupItem(std::move(fields));
    }
    return std::nullopt;
}

void HomebrewModule::addUnusedDependencies(const ScanContext& context, ModuleResult& result) const {
    const auto where = output(context, {"--cellar"}, kCellarTimeout);
    const auto cellar = where ? parseCellar(*where) : std::nullopt;
    if (context.isCancelled()) return;
    if (!cellar) {
        result.unreachable.push_back(
            UnreachableLocation::notRunning("brew --cellar", "Could not locate Homebrew's Cellar"));
        return;
    }
    constexpr std::string_view kAsked = "brew autoremove --dry-run";
    const auto listing = output(context, {"autoremove", "--dry-run"}, kDryRunTimeout);
    const auto names = listing ? parseAutoremove(*listing) : std::nullopt;
    if (context.isCancelled()) return;
    if (!names) {
        result.unreachable.push_back(UnreachableLocation::notRunning(
            kAsked, "Homebrew could not list unused dependencies. Run brew doctor, then scan again."));
        return;
    }
    if (names->empty()) return;
    const Kegs kegs = measureKegs(context, *cellar, *names);
    if (context.isCancelled()) return;
    if (kegs.folders.empty()) {
        result.unreachable.push_back(
            UnreachableLocation::notRunning(kAsked,
                                            "Homebrew lists unused dependencies, but none of them was found "
                                            "in its Cellar. Run brew doctor, then scan again."));
        return;
    }
    result.items.push_back(dependenciesItem(context.displayPath(*cellar), *names, kegs));
}

std::optional<std::string> HomebrewModule::output(const ScanContext& context,
                                                  const std::vector<std::string>& arguments,
                                                  std::chrono::seconds timeout) const {
    const RunOptions options{.timeout = timeout,
                             .isCancelled = context.isCancelled,
                             .waitingPhrases = brewWaitingPhrases(),
                             .setVariables = {{"HOMEBREW_NO_COLOR", "1"}}};
    auto result = requireSuccess(tools_.run("brew", arguments, options));
    if (!result || result->output.size() > kBrewAnswerLimit) return std::nullopt;
    return std::move(result->output);
}

}  // namespace brindle
