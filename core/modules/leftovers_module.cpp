#include "core/modules/leftovers_module.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>

#include "core/modules/installed_applications.h"
#include "core/modules/leftover_exclusions.h"
#include "core/modules/measured_item.h"
#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/settings/full_disk_access.h"
#include "core/text/byte_format.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

using Reason = UnreachableLocation::Reason;
using std::chrono::sys_seconds;

constexpr std::string_view kContainers = "Library/Containers";
constexpr std::string_view kWebsiteStorage = "Library/HTTPStorages";
constexpr std::string_view kWindowState = "Library/Saved Application State";

// The only folders whose entries are removed as an application's own.
constexpr std::array<std::string_view, 7> kDataFolders = {
    "Library/Application Support",
    kContainers,
    "Library/Caches",
    kWebsiteStorage,
    "Library/WebKit",
    kWindowState,
    "Library/Logs",
};

constexpr int kMinimumDays = 30;

struct Candidate {
    std::string identifier;  // in the case in which it was met first
    std::vector<std::string> paths;
};
using Candidates = std::map<std::string, Candidate>;  // by folded identifier

struct MeasuredPath {
    std::string path;
    DirectoryMeasurement measurement;
};

bool isOld(const ScanContext& context, std::optional<sys_seconds> moment) {
    const auto days = context.days(moment);
    return days && *days >= kMinimumDays;
}

// Folders, and the one kind of file that stands for an application's web data. What is a bundle itself is no data.
bool isOwnData(std::string_view folder, const std::string& path, const FileStatus& status) {
    if (path.ends_with(".binarycookies")) return folder == kWebsiteStorage && status.isRegular();
    if (path.ends_with(".savedState") && folder != kWindowState) return false;
    return status.isFolder() && !path.ends_with(".plist") && !exists(path + "/Contents/Info.plist");
}

class LeftoverSearch {
  public:
    LeftoverSearch(const LeftoverSettings& settings, const ScanContext& context, ModuleResult& result)
        : settings_(settings),
          context_(context),
          result_(result),
          installed_(installedApplications(settings, context)) {
        result_.unreachable = installed_.unreachable;
    }

    void run() {
        if (!installed_.isComplete) return;
        Candidates candidates;
        for (const std::string_view folder : kDataFolders) collect(folder, candidates);
        for (const auto& [folded, candidate] : candidates) {
            if (context_.isCancelled()) return;
            if (isGone(candidate)) offer(folded, candidate);
        }
    }

  private:
    // A folder that a link leads to is not entered: nothing behind it would be removed.
    void collect(std::string_view folder, Candidates& candidates) {
        const std::string path = context_.path(folder);
        const auto place = canonicalPath(path);
        if (!place || *place != path) return;
        if (folder == kContainers && !settings_.mayReadContainers(context_.home)) {
            result_.unreachable.push_back(
                {path, Reason::permissionDenied, std::string(FullDiskAccess::kRemedy)});
            return;
        }
        for (const ChildEntry& child : context_.children(path)) add(folder, child.path, candidates);
    }

    void add(std::string_view folder, const std::string& path, Candidates& candidates) {
        const auto identifier = identifierFromName(std::string_view(path).substr(path.find_last_of('/') + 1));
        if (!identifier || isNeverLeftover(*identifier)) return;
        const auto status = statusOf(path);
        if (!status || !isOwnData(folder, path, *status)) return;
        Candidate& candidate = candidates[foldedIdentifier(*identifier)];
        if (candidate.paths.empty()) candidate.identifier = *identifier;
        candidate.paths.push_back(path);
    }

    bool isGone(const Candidate& candidate) {
        if (installed_.mayOwn(candidate.identifier)) return false;
        const auto startsFrom = [&](const std::string& path) { return installed_.startsFrom(path); };
        if (std::ranges::any_of(candidate.paths, startsFrom)) return false;
        const auto hasOwner = recordHasOwner(settings_, candidate.identifier);
        if (!hasOwner) sayRecordIsSilent();
        return hasOwner && !*hasOwner;
    }

    void sayRecordIsSilent() {
        if (std::exchange(isRecordSilent_, true)) return;
        result_.unreachable.push_back(
            {"the system's record of applications", Reason::toolchainNotRunning, std::string(kSystemSilent)});
    }

    // Nothing of an identifier when one of its folders is too young, or could not be read to its end.
    std::vector<MeasuredPath> measured(const Candidate& candidate) const {
        std::vector<MeasuredPath> all;
        for (const std::string& path : candidate.paths) {
            const auto status = statusOf(path);
            if (!status || !isOld(context_, sys_seconds(std::chrono::seconds(status->modified)))) return {};
        }
        for (const std::string& path : candidate.paths) {
            auto measurement = context_.measure(path);
            if (!measurement || !measurement->isComplete() || context_.isCancelled()) return {};
            all.push_back({path, std::move(*measurement)});
        }
        std::ranges::sort(all, std::less(), [](const MeasuredPath& each) {
            return std::pair(UINT64_MAX - each.measurement.allocatedBytes, each.path);
        });
        return all;
    }

    // Files with another name that this scan counted elsewhere are missing from the measurement, not from the age.
    std::optional<sys_seconds> newest(const std::vector<MeasuredPath>& folders) const {
        ScanContext alone = context_;
        alone.hardlinks = std::make_shared<HardlinkTracker>();
        std::optional<sys_seconds> newest;
        for (const auto& [path, measurement] : folders) {
            const auto again = measurement.deduplicatedBytes > 0 ? alone.measure(path) : measurement;
            if (!again || !again->isComplete() || context_.isCancelled()) return std::nullopt;
            newest = std::max(newest, again->newestModified);
        }
        return newest;
    }

    void offer(const std::string& folded, const Candidate& candidate) {
        const auto folders = measured(candidate);
        DirectoryMeasurement sum;
        for (const MeasuredPath& folder : folders) sum += folder.measurement;
        const auto newestFile = newest(folders);
        if (sum.allocatedBytes == 0 || sum.fileCount == 0 || !isOld(context_, newestFile)) return;
        result_.items.emplace_back(fields({folded, candidate.identifier, folders, sum, newestFile}));
    }

    struct Found {
        std::string folded;
        std::string identifier;
        std::vector<MeasuredPath> folders;
        DirectoryMeasurement sum;
        std::optional<sys_seconds> newestFile;
    };

    CleanupItemFields fields(const Found& found) const {
        const auto relative = installed_.identifiers.relativeOf(found.identifier);
        CleanupItemFields fields = itemFields({.module = ModuleID::leftovers,
                                               .key = found.folded,
                                               .title = found.identifier,
                                               .detail = detail(found.folders)},
                                              found.sum);
        fields.classification = Classification::review;
        fields.explanation = {
            .storedWhatItIs =
                "What an application kept for itself on this Mac. No application with this identifier is "
                "installed any more.",
            .storedWhatHappensNext =
                "It goes to the Trash. Settings, sign-ins and documents that the application kept only here "
                "go with it, so look inside first.",
            .storedWhySuggested = relative ? kDoubtfulReason : kReason,
            .regeneratedBy = Regeneration{Regeneration::Kind::action,
                                          "It does not come back by itself: put it back from the Trash"},
            .facts = facts(found, relative),
        };
        std::vector<std::string> paths;
        for (const MeasuredPath& folder : found.folders) paths.push_back(folder.path);
        fields.removal = {DeletePaths{std::move(paths)}};
        return fields;
    }

    std::string detail(const std::vector<MeasuredPath>& folders) const {
        std::string largest = context_.displayPath(folders.front().path);
        if (folders.size() == 1) return largest;
        return localized("%@ and %@ more", largest,
                         ByteFormat::count(static_cast<std::int64_t>(folders.size()) - 1));
    }

    std::vector<Fact> facts(const Found& found, const std::optional<std::string>& relative) const {
        std::string list;
        for (const MeasuredPath& folder : found.folders) {
            if (!list.empty()) list += "\n";
            list += context_.displayPath(folder.path);
        }
        std::vector<Fact> facts = {
            {"Identifier", found.identifier},
            {"Folders", std::move(list)},
            {"Newest file", context_.relativeAge(found.newestFile)},
            {"Looked for in", "application folders, the system's own record, running programs"},
        };
        if (relative) facts.push_back({"Still installed from the same vendor", *relative});
        return facts;
    }

    static constexpr const char* kReason =
        "The application was found nowhere on this Mac, and nothing here has changed for 30 days or longer.";
    static constexpr const char* kDoubtfulReason =
        "The application was found nowhere on this Mac, and nothing here has changed for 30 days or longer. "
        "Another application of the same vendor is still installed and may use it, so this is less certain.";

    const LeftoverSettings& settings_;
    const ScanContext& context_;
    ModuleResult& result_;
    InstalledApplications installed_;
    bool isRecordSilent_ = false;
};

}  // namespace

LeftoversModule::LeftoversModule(LeftoverSettings settings) : settings_(std::move(settings)) {}

bool LeftoversModule::isPresent(const ScanContext&) const {
    return anyApplicationFolder(settings_);
}

ModuleResult LeftoversModule::scan(const ScanContext& context) const {
    ModuleResult result{
        .moduleID = id(), .items = {}, .unreachable = {}, .isToolchainInstalled = isPresent(context)};
    if (result.isToolchainInstalled) LeftoverSearch(settings_, context, result).run();
    return result;
}

}  // namespace brindle
