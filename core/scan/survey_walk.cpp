#include "core/scan/survey_walk.h"

#include <algorithm>
#include <set>
#include <utility>

#include "core/model/byte_sum.h"
#include "core/model/unreachable_location.h"
#include "core/platform/machine.h"
#include "core/platform/path_text.h"
#include "core/platform/volume.h"
#include "core/settings/full_disk_access.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

using Measurements = std::map<std::string, DirectoryMeasurement>;

// Links on the way resolved, the last name as it is: where it is a link, the link was measured.
std::string realPlace(const std::string& path) {
    const auto folder = canonicalPath(folderOf(path));
    if (!folder) return path;
    return (*folder == "/" ? "" : *folder) + '/' + std::string(lastComponent(path));
}

bool isAtOrBelowAny(const std::string& path, const std::vector<std::string>& folders) {
    return std::ranges::any_of(folders, [&](const std::string& folder) { return isAtOrBelow(path, folder); });
}

// What the modules' items measured, and where.
class CountedPlaces {
  public:
    explicit CountedPlaces(const std::vector<ModuleResult>& modules) {
        for (const ModuleResult& module : modules) {
            for (const CleanupItem& item : module.items) add(item);
        }
    }

    bool hold(const std::string& path) const { return places_.contains(path) || isInOne(path); }

    // Of the items in these trees: what they counted there, files with several names left out.
    std::uint64_t bytesIn(const Measurements& trees, const ScanContext& context) const {
        std::uint64_t bytes = 0;
        for (const Counted& item : items_) {
            std::vector<std::string> inside;
            for (const std::string& place : item.places) {
                if (!isInOne(place) && isWalkedIn(trees, place)) inside.push_back(place);
            }
            bytes = addBytes(bytes, inside.size() == item.places.size() ? item.unlinkedBytes
                                                                        : unlinkedBytes(inside, context));
        }
        return bytes;
    }

    // Those on whose behalf an item's files were claimed.
    std::set<HardlinkTracker::Claimant> claimants(HardlinkTracker& hardlinks) const {
        std::set<HardlinkTracker::Claimant> claimants = {HardlinkTracker::kUnnamed};
        for (const std::string& place : asNamed_) claimants.insert(hardlinks.claimantFor(place));
        return claimants;
    }

  private:
    struct Counted {
        std::vector<std::string> places;  // no two items have the same
        std::uint64_t unlinkedBytes = 0;
    };

    void add(const CleanupItem& item) {
        const DirectoryMeasurement& measurement = item.measurement;
        if (measurement.source != DirectoryMeasurement::Source::measured) return;
        Counted counted{.places = {},
                        .unlinkedBytes = measurement.allocatedBytes - measurement.hardLinkedBytes};
        for (const std::string& place :
             measurement.places.empty() ? item.removal.affectedPaths() : measurement.places) {
            asNamed_.insert(place);
            std::string real = realPlace(place);
            if (places_.insert(real).second) counted.places.push_back(std::move(real));
        }
        if (!counted.places.empty()) items_.push_back(std::move(counted));
    }

    bool isInOne(const std::string& path) const {
        for (std::string above = path; above != "/" && above != ".";) {
            above = folderOf(above);
            if (places_.contains(above)) return true;
        }
        return false;
    }

    // A tree that lies in a place itself is left out as a whole.
    bool isWalkedIn(const Measurements& trees, const std::string& place) const {
        return std::ranges::any_of(trees, [&](const auto& tree) {
            return isBelow(place, tree.first) && !hold(tree.first) &&
                   !isAtOrBelowAny(place, tree.second.otherVolumePaths);
        });
    }

    // An item that lies in these trees with some of its places only did not say how much each holds.
    static std::uint64_t unlinkedBytes(const std::vector<std::string>& places, const ScanContext& context) {
        std::uint64_t bytes = 0;
        for (const std::string& place : places) {
            const auto measured =
                context.sizer.measureConcurrently(place, {.isCancelled = context.isCancelled,
                                                          .mounts = context.mounts,
                                                          .onLinkedFile = [](const auto&) {}});
            bytes = addBytes(bytes, measured.allocatedBytes);
        }
        return bytes;
    }

    std::vector<Counted> items_;
    std::set<std::string> places_;
    std::set<std::string> asNamed_;
};

// What is gone again is no part of the volume, and what an item holds is no part of the slice.
std::optional<std::string> reasonUnread(const Measurements& trees, const CountedPlaces& counted,
                                        const ScanContext& context) {
    std::vector<std::string> unread;
    for (const auto& [tree, measurement] : trees) {
        std::ranges::copy_if(measurement.unreadablePaths, std::back_inserter(unread), [&](const auto& path) {
            return !counted.hold(path) && reasonUnreadable(path) != UnreachableLocation::Reason::missing;
        });
    }
    if (unread.empty()) return std::nullopt;
    const std::string first = printable(context.displayPath(unread.front()));
    return unread.size() == 1 ? localized("%@ could not be read.", first)
                              : localized("%@ and other places could not be read.", first);
}

// Without the files that have several names.
std::uint64_t bytesOf(const Measurements& trees, const CountedPlaces& counted, const ScanContext& context) {
    std::uint64_t bytes = 0;
    for (const auto& [tree, measurement] : trees) {
        if (!counted.hold(tree)) bytes = addBytes(bytes, measurement.allocatedBytes);
    }
    // Something may have been added between the two walks.
    return bytes - std::min(bytes, counted.bytesIn(trees, context));
}

}  // namespace

SurveyWalk::SurveyWalk(ScanContext context, SurveyRequest request)
    : context_(std::move(context)), request_(std::move(request)) {}

void SurveyWalk::run() {
    isDocumentsAllowed_ = request_.mayRaisePrompts || FullDiskAccess(context_.home).isGranted();
    applications_ = measured(request_.folders.applications, false);
    if (isDocumentsAllowed_) documents_ = measured(request_.folders.documents, true);
}

SurveyWalk::Measurements SurveyWalk::measured(const std::vector<std::string>& folders, bool areDocuments) {
    std::vector<std::string> walked;
    std::ranges::copy_if(folders, std::back_inserter(walked), [&](const std::string& folder) {
        return !statusOf(folder) || isOnOneVolume(folder, context_.home);
    });
    const auto note = [&](const FileStatus& status) {
        const std::lock_guard guard(lock_);
        linked_.push_back({status.device, status.inode, areDocuments, bytesOfBlocks(status.blocks)});
    };
    return context_.sizer.measure(
        walked, {.isCancelled = context_.isCancelled, .mounts = context_.mounts, .onLinkedFile = note});
}

StorageSurvey SurveyWalk::survey(const std::vector<ModuleResult>& modules) const {
    if (context_.isCancelled()) {
        const StorageSurvey::Slice slice{std::nullopt, "The scan was interrupted."};
        return {slice, slice};
    }
    const CountedPlaces counted(modules);
    const auto sliceOf = [&](const Measurements& trees) {
        auto reason = reasonUnread(trees, counted, context_);
        if (reason) return StorageSurvey::Slice{std::nullopt, std::move(reason)};
        return StorageSurvey::Slice{bytesOf(trees, counted, context_), std::nullopt};
    };
    StorageSurvey survey{sliceOf(applications_), sliceOf(documents_)};
    addLinkedFiles(survey, counted.claimants(*context_.hardlinks));
    if (!isDocumentsAllowed_)
        survey.documents = {std::nullopt, "Without Full Disk Access the system would ask you first."};
    return survey;
}

// Of the names of one file the first counts: among applications, when there is one.
void SurveyWalk::addLinkedFiles(StorageSurvey& survey,
                                const std::set<HardlinkTracker::Claimant>& developers) const {
    std::vector<LinkedName> names = linked_;
    std::ranges::sort(names);
    const LinkedName* last = nullptr;
    for (const LinkedName& name : names) {
        const bool isCounted = last != nullptr && last->device == name.device && last->inode == name.inode;
        last = &name;
        const auto claimant = context_.hardlinks->claimantOf(name.device, name.inode);
        if (isCounted || (claimant && developers.contains(*claimant))) continue;
        auto& slice = name.isDocument ? survey.documents : survey.applications;
        if (slice.bytes) slice.bytes = addBytes(*slice.bytes, name.bytes);
    }
}

}  // namespace brindle
