#include "core/modules/xcode_module.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "core/modules/cache_spec.h"
#include "core/modules/real_folders.h"
#include "core/modules/simulator_items.h"
#include "core/modules/xcode_archives.h"
#include "core/modules/xcode_derived_data.h"
#include "core/modules/xcode_device_support.h"
#include "core/modules/xcode_items.h"
#include "core/platform/file_status.h"

namespace brindle {

namespace {

constexpr std::string_view kSimulators = "Library/Developer/CoreSimulator";
constexpr std::string_view kPreviews = "Library/Developer/Xcode/UserData/Previews";
constexpr std::string_view kPreviewSimulators = "Simulator Devices";

std::vector<CacheSpec> caches() {
    return {
        {
            .key = "simulatorCaches",
            .title = "Simulator caches",
            .relativePath = "Library/Developer/CoreSimulator/Caches",
            .whatItIs = "Prepared copies of the system libraries that simulators load when they start.",
            .whatHappensNext =
                "Shut simulators down first. The next start of each is slow once, while this is made again.",
            .regeneratedBy = {Regeneration::Kind::automatic, "Made again when a simulator starts"},
        },
        {
            .key = "xcodeCaches",
            .title = "Xcode caches",
            .relativePath = "Library/Caches/com.apple.dt.Xcode",
            .whatItIs = "Downloads and intermediate files Xcode keeps for itself between launches.",
            .whatHappensNext = "Quit Xcode first. It fetches and writes what it needs again.",
            .regeneratedBy = {Regeneration::Kind::action, "Relaunch Xcode"},
        },
        {
            .key = "swiftPackages",
            .title = "Swift package cache",
            .relativePath = "Library/Caches/org.swift.swiftpm",
            .whatItIs = "Packages that the Swift package manager has downloaded, shared by every project on "
                        "this Mac.",
            .whatHappensNext = "Stop builds first. The next resolve downloads the packages again, which "
                               "needs a network connection.",
            .regeneratedBy = {Regeneration::Kind::command, "swift package resolve"},
        },
    };
}

std::vector<CacheSpec> forReview() {
    return {
        {
            .key = "products",
            .title = "Xcode products",
            .relativePath = "Library/Developer/Xcode/Products",
            .whatItIs = "Builds that Xcode put aside for running or exporting, one folder an app.",
            .whatHappensNext = "Quit Xcode first. A product comes back only by building its project again.",
            .whySuggested = "Products are built from source. It is review rather than safe because the "
                            "source as it was then may be gone.",
            .regeneratedBy = {Regeneration::Kind::action, "Build the project again in Xcode"},
            .classification = Classification::review,
        },
        {
            .key = "documentation",
            .title = "Xcode documentation cache",
            .relativePath = "Library/Developer/Xcode/DocumentationCache",
            .whatItIs = "Documentation that Xcode prepared for reading and searching.",
            .whatHappensNext = "Quit Xcode first. It prepares the documentation again when you open it, "
                               "which may need a network connection.",
            .whySuggested = "Xcode makes it again. It is review rather than safe because documentation of an "
                            "older Xcode may no longer be had.",
            .regeneratedBy = {Regeneration::Kind::action, "Open the documentation window in Xcode"},
            .classification = Classification::review,
        },
    };
}

std::vector<ToolsFolder> otherDeviceSets() {
    return {
        {
            .key = "testSimulators",
            .title = "Simulators for tests",
            .relativePath = "Library/Developer/XCTestDevices",
            .reason = "Copies of simulators that Xcode makes to run tests side by side. A set of simulators "
                      "is not deleted by hand; the command below empties it, and Xcode makes the next copies "
                      "when tests run.",
            .command = "xcrun simctl --set testing delete all",
        },
        {
            .key = "previewSimulators",
            .title = "Simulators for previews",
            .relativePath = std::string(kPreviews) + "/" + std::string(kPreviewSimulators),
            .reason = "Simulators that Xcode makes to draw previews. A set of simulators is not deleted by "
                      "hand; the command below empties it, and Xcode makes new ones when a preview is shown.",
            .command = "xcrun simctl --set previews delete all",
        },
    };
}

void addSpecs(const ScanContext& context, const std::vector<CacheSpec>& specs, ModuleResult& result) {
    for (const CacheSpec& spec : specs) {
        const auto folders = foldersInHome(context, spec.relativePath);
        const bool isLinked = std::ranges::any_of(folders, [&](const std::string& folder) {
            return context.exists(folder) && !isRealFolder(context, folder.substr(context.home.size() + 1));
        });
        if (isLinked) continue;
        if (auto item = spec.item(context, ModuleID::xcode)) result.items.push_back(std::move(*item));
    }
}

// All of the previews' folder but their simulators, which simctl alone removes.
void addPreviews(const ScanContext& context, ModuleResult& result) {
    DirectoryMeasurement sum;
    std::vector<std::string> paths;
    for (const NamedFolder& folder : ownFolders(context, kPreviews)) {
        if (folder.name == kPreviewSimulators) continue;
        const auto measurement = measureOccupied(context, folder.path);
        if (!measurement) continue;
        sum += *measurement;
        paths.push_back(folder.path);
    }
    if (paths.empty() || context.isCancelled()) return;
    CleanupItemFields fields = itemFields(
        {ModuleID::xcode, "previews", "Xcode previews", context.displayPath(context.path(kPreviews))}, sum);
    fields.classification = Classification::review;
    fields.explanation = {
        .storedWhatItIs =
            "What Xcode built to draw previews beside your source. Your settings, snippets and key bindings "
            "lie beside it and are not touched.",
        .storedWhatHappensNext = "Quit Xcode first. It builds previews again when one is shown.",
        .storedWhySuggested =
            "Previews are drawn from your source. It is review rather than safe because the folder lies "
            "among what you set up in Xcode.",
        .regeneratedBy = Regeneration{Regeneration::Kind::action, "Show the preview again in Xcode"},
        .facts = ageAndFileCount(context, sum),
    };
    fields.removal = {DeletePaths{std::move(paths)}};
    result.items.emplace_back(std::move(fields));
}

void addAll(std::vector<CleanupItem> items, ModuleResult& result) {
    std::ranges::move(items, std::back_inserter(result.items));
}

// People move these folders to another disk and leave a link. Nothing behind it is looked at, which is said.
void addLinkedFolders(const ScanContext& context, ModuleResult& result) {
    constexpr auto kMoved = std::to_array<std::string_view>({
        "Library/Developer",
        kXcodeFolder,
        "Library/Developer/Xcode/DerivedData",
        "Library/Developer/Xcode/Archives",
        kSimulators,
        "Library/Developer/CoreSimulator/Devices",
    });
    const auto home = statusOf(context.home + "/.");
    for (const std::string_view relative : kMoved) {
        const std::string path = context.path(relative);
        const auto link = statusOf(path);
        const auto target = statusOf(path + "/.");
        if (!link || !link->isLink() || !home || !target || target->device == home->device) continue;
        result.unreachable.push_back(
            UnreachableLocation::withDefaultRemedy(path, UnreachableLocation::Reason::differentVolume));
    }
}

}  // namespace

bool XcodeModule::isPresent(const ScanContext& context) const {
    const auto specs = caches();
    return context.exists(context.path(kXcodeFolder)) || context.exists(context.path(kSimulators)) ||
           std::ranges::any_of(specs, [&](const CacheSpec& spec) {
               const auto folders = foldersInHome(context, spec.relativePath);
               return std::ranges::any_of(folders,
                                          [&](const std::string& folder) { return context.exists(folder); });
           });
}

ModuleResult XcodeModule::scan(const ScanContext& context) const {
    ModuleResult result{.moduleID = ModuleID::xcode,
                        .items = {},
                        .unreachable = {},
                        .isToolchainInstalled = isPresent(context)};
    addAll(derivedDataItems(context), result);
    addAll(deviceSupportItems(context), result);
    addSpecs(context, caches(), result);
    addSpecs(context, forReview(), result);
    addPreviews(context, result);
    addAll(archiveItems(context), result);
    addSimulatorsAndRuntimes(context, result);
    for (const ToolsFolder& folder : otherDeviceSets()) {
        if (auto item = toolsFolderItem(context, folder)) result.items.push_back(std::move(*item));
    }
    addLinkedFolders(context, result);
    return result;
}

void XcodeModule::addSimulatorsAndRuntimes(const ScanContext& context, ModuleResult& result) const {
    const SimulatorTool simctl(settings_.tools, context.isCancelled);
    const bool hasSystemFolder = context.exists(settings_.systemSimulators);
    if (isRealFolder(context, kSimulators)) {
        const auto devices = simctl.ask(deviceListArguments());
        if (context.isCancelled()) return;
        addSimulators(context, devices, result);
        // It would not answer the second question either. Without simulators there may still be runtimes to miss.
        if (!devices && hasSystemFolder && result.unreachable.empty())
            result.unreachable.push_back(devices.error().location());
        if (!devices) return;
    } else if (!hasSystemFolder) {
        return;
    }
    const auto runtimes = simctl.ask(runtimeListArguments());
    if (!context.isCancelled()) addRuntimes(context, runtimes, result);
}

}  // namespace brindle
