#include "core/modules/node_module.h"

#include <algorithm>
#include <array>
#include <vector>

#include "core/modules/measured_item.h"
#include "core/modules/tool_command.h"
#include "core/platform/known_folders.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// The user's own of macOS, of Linux, and that of older versions everywhere.
constexpr std::array<std::string_view, 3> kPnpmStores = {"Library/pnpm/store", ".local/share/pnpm/store",
                                                         ".pnpm-store"};

// Yarn writes its name in lower case where its cache is not in Library/Caches.
std::vector<std::string> yarnCaches(const ScanContext& context) {
    std::vector<std::string> folders = foldersInHome(context, "Library/Caches/Yarn");
    if (folders.size() > 1) folders.push_back(context.path(std::string(kUserCachesFolder) + "/yarn"));
    return folders;
}

struct Place {
    std::string key;
    std::string title;
    std::string folder;
};

// The explanation is the caller's.
CleanupItemFields fieldsOf(const ScanContext& context, const Place& place,
                           const DirectoryMeasurement& measurement) {
    auto fields =
        itemFields({ModuleID::node, place.key, place.title, context.displayPath(place.folder)}, measurement);
    fields.classification = Classification::safe;
    fields.removal = {DeletePaths{{place.folder}}};
    return fields;
}

// Absent when the folder holds nothing.
std::optional<CleanupItemFields> occupiedFieldsOf(const ScanContext& context, const Place& place) {
    const auto measurement = measureOccupied(context, place.folder);
    return measurement ? std::optional(fieldsOf(context, place, *measurement)) : std::nullopt;
}

// pnpm's shared installation: inside the store, packages lie ready in a folder "links", made of further links to the
// store's own files, and projects point there with symbolic links.
bool holdsSharedInstallation(const ScanContext& context, const std::string& store) {
    const auto versions = context.children(store);
    return std::ranges::any_of(
        versions, [&](const ChildEntry& version) { return context.exists(version.path + "/links"); });
}

// A file that has two names in the store itself was counted at the first one, and its second is nothing that somebody
// else keeps. Counting the store alone, each file once, tells how much the rest of the scan holds.
std::uint64_t bytesLinkedElsewhere(const ScanContext& context, const std::string& store,
                                   const DirectoryMeasurement& measurement) {
    HardlinkTracker alone;
    const auto whole = context.sizer.measureConcurrently(store, {&alone, context.isCancelled});
    return whole.allocatedBytes - std::min(whole.allocatedBytes, measurement.allocatedBytes);
}

// Absent when it holds no files, and when the scan was cancelled. One whose every file the scan has counted elsewhere
// holds something, also where a folder itself occupies nothing.
std::optional<DirectoryMeasurement> measureStore(const ScanContext& context, const std::string& store,
                                                 bool isShared) {
    auto measurement = context.measure(store);
    if (!measurement) return std::nullopt;
    if (isShared) measurement->deduplicatedBytes = bytesLinkedElsewhere(context, store, *measurement);
    const bool holdsFiles =
        measurement->fileCount > 0 || measurement->deduplicatedBytes > 0 || !measurement->isComplete();
    const bool isOccupied = measurement->allocatedBytes > 0 || measurement->deduplicatedBytes > 0;
    if (!holdsFiles || !isOccupied || context.isCancelled()) return std::nullopt;
    return measurement;
}

// Links prove nothing on a volume where pnpm clones: each file of the store has one name there, used or not.
void explainClones(CleanupItemFields& fields) {
    fields.explanation.storedWhatHappensNext =
        "Pruning may make pnpm download everything again: on a volume like this one it can clone a file "
        "instead of linking to it, and then `pnpm store prune` cannot tell which packages are in use. "
        "Installed projects keep working. The space actually returned may be well below the store's total "
        "size.";
    fields.explanation.storedWhySuggested =
        "Nothing here is the only copy of anything. pnpm downloads a package again when an install needs it.";
}

std::string atMost(std::uint64_t bytes) {
    return CoreStrings::localized("%@ at most", ByteFormat::shortText(bytes));
}

std::vector<Fact> storeFacts(const DirectoryMeasurement& store) {
    return {
        {"Store size", ByteFormat::shortText(store.allocatedBytes + store.deduplicatedBytes)},
        {"Already linked elsewhere", store.deduplicatedBytes > 0
                                         ? ByteFormat::shortText(store.deduplicatedBytes)
                                         : CoreStrings::localized("none seen yet")},
    };
}

}  // namespace

bool NodeModule::isPresent(const ScanContext& context) const {
    const auto exists = [&](const std::string& folder) { return context.exists(folder); };
    return exists(context.path(".npm")) || storePath(context) ||
           std::ranges::any_of(yarnCaches(context), exists) || exists(context.path(".bun"));
}

std::optional<std::string> NodeModule::storePath(const ScanContext& context) const {
    for (const std::string_view place : kPnpmStores) {
        std::string path = context.path(place);
        if (context.exists(path)) return path;
    }
    return std::nullopt;
}

ModuleResult NodeModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    for (const auto item :
         {&NodeModule::npmCache, &NodeModule::pnpmStore, &NodeModule::yarnCache, &NodeModule::bunCache}) {
        if (auto found = (this->*item)(context)) result.items.push_back(std::move(*found));
    }
    return result;
}

std::optional<CleanupItem> NodeModule::npmCache(const ScanContext& context) const {
    auto fields = occupiedFieldsOf(context, {"npmCache", "npm cache", context.path(".npm/_cacache")});
    if (!fields) return std::nullopt;
    fields->explanation = {
        "Every package tarball npm has downloaded, kept so a reinstall does not hit the network.",
        "The next `npm install` downloads what it needs again. Slower once, per project.",
        "It is a download cache. npm fetches any package again from the registry when a project asks for it.",
        Regeneration{Regeneration::Kind::command, "npm install"},
        {{"Last modified", context.relativeAge(fields->measurement.newestModified)},
         {"Entries", ByteFormat::count(fields->measurement.fileCount)}}};
    offerCommandOrProtect(*fields, {"/usr/bin/env", {"npm", "cache", "clean", "--force"}}, settings_.tools);
    return CleanupItem(*std::move(fields));
}

std::optional<CleanupItem> NodeModule::pnpmStore(const ScanContext& context) const {
    const auto store = storePath(context);
    if (!store) return std::nullopt;
    const bool isShared = holdsSharedInstallation(context, *store);
    const auto measurement = measureStore(context, *store, isShared);
    if (!measurement) return std::nullopt;
    CleanupItemFields fields = fieldsOf(context, {"pnpmStore", "pnpm store", *store}, *measurement);
    fields.explanation = {
        "pnpm's content-addressed store. Every installed project hard-links into it instead of keeping its "
        "own copy, which is why your node_modules folders are small.",
        "`pnpm store prune` removes only packages no installed project references any more. The space "
        "actually returned is usually well below the store's total size — the rest is still in use.",
        "Only packages nothing links to are offered. Anything a project on this Mac still references stays "
        "exactly where it is.",
        Regeneration{Regeneration::Kind::command, "pnpm install"}, storeFacts(*measurement)};
    const bool isCloned = settings_.canCloneFiles(*store);
    if (isCloned) explainClones(fields);
    if (offerCommandOrProtect(fields, {"/usr/bin/env", {"pnpm", "store", "prune"}}, settings_.tools)) {
        fields.explanation.facts.push_back({"Removed via", "pnpm store prune"});
        fields.clears = "What pnpm remembers of the registry's package lists";
        if (!isCloned)
            fields.detail =
                CoreStrings::localized("%@ · only unreferenced packages are removed", fields.detail);
    }
    if (!isCloned && !isShared) {
        const std::uint64_t alone = measurement->allocatedBytes - measurement->hardLinkedBytes;
        fields.explanation.facts.push_back({"Linked by no project", atMost(alone)});
    }
    return CleanupItem(std::move(fields));
}

std::optional<CleanupItem> NodeModule::yarnCache(const ScanContext& context) const {
    for (const std::string& folder : yarnCaches(context)) {
        auto fields = occupiedFieldsOf(context, {"yarnCache", "Yarn cache", folder});
        if (!fields) continue;
        fields->explanation = {
            "Package archives Yarn keeps between installs.", "Yarn re-downloads on the next install.",
            "It is a download cache. Yarn fetches these archives again when an install needs them.",
            Regeneration{Regeneration::Kind::automatic, "Yarn's own next install"},
            ageAndFileCount(context, fields->measurement)};
        return CleanupItem(*std::move(fields));
    }
    return std::nullopt;
}

std::optional<CleanupItem> NodeModule::bunCache(const ScanContext& context) const {
    auto fields =
        occupiedFieldsOf(context, {"bunCache", "Bun install cache", context.path(".bun/install/cache")});
    if (!fields) return std::nullopt;
    fields->explanation = {
        "Packages Bun has downloaded and unpacked for reuse across projects.",
        "Bun repopulates the cache on the next install.",
        "It is a download cache. Bun downloads a package again the next time an install needs it.",
        Regeneration{Regeneration::Kind::automatic, "Bun's own next install"},
        ageAndFileCount(context, fields->measurement)};
    // What an installed project links to stays on the disk until that project's name of it goes, too.
    if (fields->measurement.hardLinkedBytes > 0) {
        fields->explanation.facts.push_back(
            {"Shared with projects", atMost(fields->measurement.hardLinkedBytes)});
    }
    return CleanupItem(*std::move(fields));
}

}  // namespace brindle
