#include "core/modules/cocoapods_module.h"

#include <algorithm>

#include "core/modules/cache_spec.h"
#include "core/modules/git_remote_host.h"
#include "core/modules/measured_item.h"
#include "core/modules/real_folders.h"
#include "core/modules/tool_command.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/platform/path_text.h"
#include "core/text/core_strings.h"
#include "core/text/shell_word.h"

namespace brindle {

namespace {

constexpr std::string_view kRepositories = ".cocoapods/repos";
constexpr std::string_view kCache = "Library/Caches/CocoaPods";
constexpr std::string_view kPublicIndexHost = "cdn.cocoapods.org";
constexpr std::uint64_t kRepositoryFileLimit = 1U << 20U;

struct Pile {
    std::string key;
    std::string title;
    std::string path;
};

std::optional<CleanupItemFields> measuredFields(const ScanContext& context, const Pile& pile) {
    const auto measurement = measureOccupied(context, pile.path);
    if (!measurement) return std::nullopt;
    auto fields = itemFields({.module = ModuleID::xcode,
                              .key = pile.key,
                              .title = pile.title,
                              .detail = context.displayPath(pile.path)},
                             *measurement);
    fields.removal = {DeletePaths{{pile.path}}};
    fields.explanation = {.storedWhatItIs = {},
                          .storedWhatHappensNext = std::string(kNothingIsRemoved),
                          .storedWhySuggested = std::nullopt,
                          .regeneratedBy = std::nullopt,
                          .facts = ageAndFileCount(context, *measurement)};
    return fields;
}

std::optional<CleanupItem> cacheIn(const ScanContext& context, const std::string& folder,
                                   const Toolbox& tools) {
    auto fields = measuredFields(context, {"cocoapodsCache", "CocoaPods cache", folder});
    if (!fields) return std::nullopt;
    Explanation& told = fields->explanation;
    told.storedWhatItIs =
        "Pods that CocoaPods keeps after downloading them, shared by every project on this Mac.";
    told.storedWhatHappensNext =
        "CocoaPods empties its cache. Pods installed in projects stay; others are downloaded again when a "
        "project needs them.";
    told.storedWhySuggested = std::string(kCommonWhySuggested);
    told.regeneratedBy = {Regeneration::Kind::command, "pod install"};
    fields->classification = Classification::safe;
    offerCommandOrProtect(*fields, {"/usr/bin/env", {"pod", "cache", "clean", "--all"}}, tools);
    return CleanupItem(std::move(*fields));
}

std::optional<CleanupItem> cacheItem(const ScanContext& context, const Toolbox& tools) {
    for (const std::string& folder : foldersInHome(context, std::string(kCache))) {
        if (auto item = cacheIn(context, folder, tools)) return item;
    }
    return std::nullopt;
}

// The address that a folder was filled from, where it is no Git repository.
std::optional<std::string> indexHost(const std::string& folder) {
    const auto address = readFile(folder + "/.url", kRepositoryFileLimit);
    if (!address) return std::nullopt;
    return hostOfAddress(address->substr(0, address->find_first_of("\r\n")));
}

std::optional<std::string> repositoryHost(const std::string& folder) {
    const auto config = readFile(folder + "/.git/config", kRepositoryFileLimit);
    return config ? gitRemoteHost(*config) : std::nullopt;
}

// Unless it is certain that nothing named .git lies there, something does.
bool isGitRepository(const std::string& folder) {
    const auto status = statusOf(folder + "/.git");
    return status || status.error().kind != Error::Kind::missing;
}

std::optional<CleanupItem> indexItem(const ScanContext& context, const std::string& folder) {
    auto fields = measuredFields(context, {"cocoapodsIndex", "CocoaPods index", folder});
    if (!fields) return std::nullopt;
    Explanation& told = fields->explanation;
    told.storedWhatItIs = "The part of the public index of pods that CocoaPods has downloaded so far.";
    told.storedWhatHappensNext =
        "CocoaPods downloads the entries that a project needs when it next resolves its pods.";
    told.storedWhySuggested =
        "Nothing here is the only copy of anything: every file was fetched from the public index, and is "
        "fetched again when it is needed.";
    told.regeneratedBy = {Regeneration::Kind::command, "pod install"};
    told.facts.push_back({"Downloaded from", std::string(kPublicIndexHost)});
    fields->classification = Classification::safe;
    return CleanupItem(std::move(*fields));
}

std::optional<CleanupItem> repositoryItem(const ScanContext& context, const std::string& folder) {
    const std::string name(lastComponent(folder));
    auto fields = measuredFields(
        context, {"cocoapodsRepository." + name, localized("CocoaPods repository %@", name), folder});
    if (!fields) return std::nullopt;
    Explanation& told = fields->explanation;
    const bool isGit = isGitRepository(folder);
    told.storedWhatItIs = isGit ? "A Git copy of a repository of podspecs. It may be private, may need "
                                  "credentials to come back, and may hold changes that were never sent."
                                : "A folder of podspecs that is not the downloaded public index, so it is "
                                  "not known whether it would come back.";
    if (const auto host = isGit ? repositoryHost(folder) : indexHost(folder))
        told.facts.push_back({"Downloaded from", *host});
    if (const auto command = commandLineOn("pod repo remove", name))
        told.facts.push_back({"Remove it yourself with", *command});
    return CleanupItem(std::move(*fields));
}

std::optional<CleanupItem> itemOf(const ScanContext& context, const std::string& folder) {
    const bool isIndex =
        lastComponent(folder) == "trunk" && !isGitRepository(folder) && indexHost(folder) == kPublicIndexHost;
    return isIndex ? indexItem(context, folder) : repositoryItem(context, folder);
}

}  // namespace

bool CocoaPodsModule::isPresent(const ScanContext& context) const {
    const auto exists = [&](const std::string& folder) { return context.exists(folder); };
    return tools_.locate("pod").has_value() || exists(context.path(kRepositories)) ||
           std::ranges::any_of(foldersInHome(context, std::string(kCache)), exists);
}

ModuleResult CocoaPodsModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    if (auto item = cacheItem(context, tools_)) result.items.push_back(std::move(*item));
    if (!isRealFolder(context, kRepositories)) return result;
    for (const std::string& folder : realFoldersIn(context, context.path(kRepositories))) {
        if (auto item = itemOf(context, folder)) result.items.push_back(std::move(*item));
    }
    return result;
}

}  // namespace brindle
