#include "core/modules/xcode_derived_data.h"

#include <algorithm>
#include <array>

#include "core/modules/cache_spec.h"
#include "core/modules/property_list.h"
#include "core/modules/xcode_items.h"
#include "core/platform/file_status.h"
#include "core/platform/files.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::string_view kDerivedData = "Library/Developer/Xcode/DerivedData";
constexpr std::string_view kRecord = "info.plist";
constexpr std::size_t kHashLength = 28;

constexpr auto kSharedCaches = std::to_array<std::pair<std::string_view, std::string_view>>({
    {"CompilationCache.noindex", "Shared compilation cache"},
    {"ModuleCache", "Shared module cache"},
    {"ModuleCache.noindex", "Shared module cache"},
    {"SDKStatCaches.noindex", "Shared SDK file cache"},
    {"SymbolCache.noindex", "Shared symbol cache"},
});

// What Xcode's versions have written at the top of a project's folder.
constexpr auto kProducts = std::to_array<std::string_view>({
    "Build",
    "CompilationCache.noindex",
    "Index",
    "Index.noindex",
    "Logs",
    "ModuleCache",
    "ModuleCache.noindex",
    "OpenQuickly-ReferencedFrameworks.index-v1",
    "SDKStatCaches.noindex",
    "SourcePackages",
    "SymbolCache.noindex",
    "TextIndex",
    kRecord,
    "scm.plist",
});

enum class Origin {
    xcode,    // by name and content
    unnamed,  // holds what Xcode writes, but is not named as Xcode names it
    unknown,
};

struct Workspace {
    std::string path;
    std::string_view state;  // as it is shown
};

constexpr std::string_view kStillThere = "still there";
constexpr std::string_view kGone = "no longer there";
constexpr std::string_view kNotConnected = "its volume is not connected now";
constexpr std::string_view kUnknown = "unknown";

// A volume that is not connected leaves nothing in /Volumes, or an empty folder on the volume of /Volumes itself.
bool isOnMissingVolume(const std::string& path) {
    constexpr std::string_view kVolumes = "/Volumes/";
    if (!path.starts_with(kVolumes)) return false;
    const auto volume = statusOf(path.substr(0, path.find('/', kVolumes.size())));
    if (!volume) return volume.error().kind == Error::Kind::missing;
    const auto volumes = statusOf("/Volumes");
    return volume->isFolder() && volumes && volume->device == volumes->device;
}

std::string_view stateOf(const std::string& workspace) {
    if (isOnMissingVolume(workspace)) return kNotConnected;
    const auto status = statusOf(workspace);
    if (status) return kStillThere;
    return status.error().kind == Error::Kind::missing ? kGone : kUnknown;
}

std::optional<Workspace> workspaceOf(const std::optional<PropertyList>& record) {
    auto path = record ? record->text("WorkspacePath") : std::nullopt;
    if (!path || !path->starts_with('/')) return std::nullopt;
    const std::string_view state = stateOf(*path);
    return Workspace{.path = std::move(*path), .state = state};
}

std::int64_t testResultsIn(const std::string& folder) {
    const auto names = listFolder(folder + "/Logs/Test");
    if (!names) return 0;
    return std::ranges::count_if(*names, [](const std::string& name) { return name.ends_with(".xcresult"); });
}

Origin originOf(const NamedFolder& folder, bool isNamedByXcode, bool hasWorkspace) {
    const auto names = listFolder(folder.path);
    if (!names) return Origin::unknown;
    const auto isHidden = [](const std::string& name) { return name.starts_with('.'); };
    const auto isProduct = [](const std::string& name) {
        return std::ranges::find(kProducts, name) != kProducts.end();
    };
    if (std::ranges::none_of(*names, isProduct)) return Origin::unknown;
    if (isNamedByXcode) return Origin::xcode;
    const bool isAllXcodes = std::ranges::all_of(
        *names, [&](const std::string& name) { return isHidden(name) || isProduct(name); });
    return hasWorkspace && isAllXcodes ? Origin::xcode : Origin::unnamed;
}

Explanation ofXcodes(const std::optional<Workspace>& workspace) {
    const bool isOrphan = workspace && workspace->state == kGone;
    return {
        .storedWhatItIs =
            "What Xcode built and indexed for one project: products, the index, logs and the packages it "
            "downloaded. The project itself lies elsewhere and is not touched.",
        .storedWhatHappensNext =
            "Quit Xcode first. The next build compiles everything and downloads the packages again, so it is "
            "slower once.",
        .storedWhySuggested =
            isOrphan
                ? "The workspace it was made for is no longer at its place, so nothing is likely to use this "
                  "again."
                : "Products and index are made from the project's source, and packages are downloaded again.",
        .regeneratedBy = Regeneration{Regeneration::Kind::action, "Build the project again in Xcode"},
        .facts = {},
    };
}

Explanation ofUnnamed() {
    return {
        .storedWhatItIs =
            "Build data in a folder that does not have a name of the kind Xcode gives, so a script or "
            "somebody by hand had it made.",
        .storedWhatHappensNext =
            "Quit Xcode first, and look inside. Builds make their products again; what was put there by hand "
            "does not come back.",
        .storedWhySuggested =
            "It holds what Xcode writes when it builds. It is review rather than safe because nothing in it "
            "shows that Xcode alone uses this folder.",
        .regeneratedBy = Regeneration{Regeneration::Kind::action, "Build the project again in Xcode"},
        .facts = {},
    };
}

Explanation ofUnknown() {
    return {
        .storedWhatItIs =
            "A folder among Xcode's build data in which Brindle finds nothing it knows to be Xcode's. It may "
            "be yours, so it is left alone.",
        .storedWhatHappensNext = std::string(kNothingIsRemoved),
        .storedWhySuggested = {},
        .regeneratedBy = {},
        .facts = {},
    };
}

Explanation explanationOf(Origin origin, const std::optional<Workspace>& workspace) {
    switch (origin) {
        case Origin::xcode:
            return ofXcodes(workspace);
        case Origin::unnamed:
            return ofUnnamed();
        case Origin::unknown:
            return ofUnknown();
    }
    return ofUnknown();
}

Classification classificationOf(Origin origin) {
    if (origin == Origin::xcode) return Classification::safe;
    return origin == Origin::unnamed ? Classification::review : Classification::protected_;
}

ItemHead headOf(const ScanContext& context, const NamedFolder& folder, std::string title) {
    return {ModuleID::xcode, "derivedData." + folder.name, std::move(title),
            context.displayPath(folder.path)};
}

std::optional<CleanupItem> projectItem(const ScanContext& context, const NamedFolder& folder) {
    const auto measurement = measureOccupied(context, folder.path);
    if (!measurement) return std::nullopt;
    const auto project = projectOfDerivedData(folder.name);
    const auto record = readPropertyList(folder.path + "/" + std::string(kRecord));
    const auto workspace = workspaceOf(record);
    const Origin origin = originOf(folder, project.has_value(), workspace.has_value());

    CleanupItemFields fields = itemFields(
        headOf(context, folder, localized("DerivedData of %@", project.value_or(folder.name))), *measurement);
    fields.classification = classificationOf(origin);
    fields.explanation = explanationOf(origin, workspace);
    std::vector<Fact>& facts = fields.explanation.facts;
    if (workspace) {
        facts.push_back({"Workspace", context.displayPath(workspace->path)});
        facts.push_back({"Workspace is", std::string(workspace->state)});
    }
    const auto accessed = record ? record->date("LastAccessedDate") : std::nullopt;
    facts.push_back({"Last used", context.relativeAge(accessed ? accessed : measurement->newestModified)});
    std::ranges::copy(ageAndFileCount(context, *measurement), std::back_inserter(facts));
    if (const std::int64_t results = testResultsIn(folder.path); results > 0) {
        facts.push_back({"Test results", ByteFormat::count(results)});
        if (origin != Origin::unknown) fields.clears = "the results of past test runs";
    }
    fields.removal = {DeletePaths{{folder.path}}};
    return CleanupItem(std::move(fields));
}

std::optional<CleanupItem> sharedCacheItem(const ScanContext& context, const NamedFolder& folder,
                                           std::string_view title) {
    const auto measurement = measureOccupied(context, folder.path);
    if (!measurement) return std::nullopt;
    CleanupItemFields fields = itemFields(headOf(context, folder, std::string(title)), *measurement);
    fields.classification = Classification::safe;
    fields.explanation = {
        .storedWhatItIs = "A cache that Xcode's compilers and build system share between all projects.",
        .storedWhatHappensNext =
            "Quit Xcode first. The next build of each project fills it again and is slower once.",
        .storedWhySuggested = std::string(kCommonWhySuggested),
        .regeneratedBy = Regeneration{Regeneration::Kind::automatic, "Filled again by the next build"},
        .facts = ageAndFileCount(context, *measurement),
    };
    fields.removal = {DeletePaths{{folder.path}}};
    return CleanupItem(std::move(fields));
}

}  // namespace

std::optional<std::string> projectOfDerivedData(std::string_view folderName) {
    if (folderName.size() < kHashLength + 2) return std::nullopt;
    const std::string_view hash = folderName.substr(folderName.size() - kHashLength);
    const auto isSmallLetter = [](char letter) { return letter >= 'a' && letter <= 'z'; };
    if (!std::ranges::all_of(hash, isSmallLetter)) return std::nullopt;
    if (folderName[folderName.size() - kHashLength - 1] != '-') return std::nullopt;
    return std::string(folderName.substr(0, folderName.size() - kHashLength - 1));
}

std::vector<CleanupItem> derivedDataItems(const ScanContext& context) {
    std::vector<CleanupItem> items;
    for (const NamedFolder& folder : ownFolders(context, kDerivedData)) {
        const auto* shared =
            std::ranges::find(kSharedCaches, folder.name, [](const auto& cache) { return cache.first; });
        auto item = shared == kSharedCaches.end() ? projectItem(context, folder)
                                                  : sharedCacheItem(context, folder, shared->second);
        if (item) items.push_back(std::move(*item));
    }
    return items;
}

}  // namespace brindle
