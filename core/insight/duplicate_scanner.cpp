#include "core/insight/duplicate_scanner.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "core/insight/duplicate_comparison.h"
#include "core/insight/duplicate_tables.h"
#include "core/insight/duplicate_walk.h"
#include "core/model/byte_sum.h"
#include "core/platform/file_status.h"
#include "core/platform/machine.h"
#include "core/platform/mount_points.h"
#include "core/platform/open_files.h"
#include "core/platform/path_text.h"
#include "core/platform/shared_blocks.h"
#include "core/platform/volume.h"
#include "core/text/core_strings.h"
#include "core/text/printable.h"

namespace brindle {

namespace {

SeenFile seenFile(const DuplicateFile& file) {
    return {.device = file.identity.device,
            .inode = file.identity.inode,
            .size = file.logicalBytes,
            .modified = file.modified.time_since_epoch().count(),
            .modifiedNanoseconds = file.modifiedNanoseconds};
}

DuplicateFile duplicateFile(const DuplicateCandidate& found, std::string path) {
    std::uint64_t unstored = 0;
    if (found.hasHoles) {
        const auto status = statusOf(path);
        const std::uint64_t stored = status ? bytesOfBlocks(status->blocks) : 0;
        unstored = found.seen.size - std::min(found.seen.size, stored);
    }
    return {.path = std::move(path),
            .identity = {.device = found.seen.device, .inode = found.seen.inode, .mode = found.mode},
            .logicalBytes = found.seen.size,
            .unstoredBytes = unstored,
            .modified = std::chrono::sys_seconds(std::chrono::seconds(found.seen.modified)),
            .modifiedNanoseconds = found.seen.modifiedNanoseconds};
}

std::unexpected<std::string> refusal(std::string_view sentence, const std::string& path) {
    return std::unexpected(localized(sentence, printable(path)));
}

bool isInTrash(const std::string& root, const std::set<std::string>& trashes) {
    for (std::string folder = root; folder != "/"; folder = folderOf(folder)) {
        if (isTrashFolder(folder) || trashes.contains(folder)) return true;
    }
    return false;
}

bool isMountedElsewhere(const std::string& root, const std::string& home) {
    const auto mounts = MountPoints::current().below(home);
    return std::ranges::any_of(mounts, [&](const std::string& mount) { return isAtOrBelow(root, mount); });
}

void numberClones(DuplicateGroup& group) {
    std::map<StoragePlaces, std::vector<DuplicateFile*>> byPlace;
    for (DuplicateFile& file : group.files) {
        if (auto places = sharedStorageOf(file.path)) byPlace[*std::move(places)].push_back(&file);
    }
    std::uint32_t number = 0;
    for (const auto& [places, clones] : byPlace) {
        if (clones.size() < 2) continue;
        ++number;
        for (DuplicateFile* clone : clones) clone->storage = number;
    }
}

std::vector<DuplicateGroup> groupsOf(const std::vector<ComparedFile>& identical,
                                     const DuplicateCandidates& candidates) {
    std::vector<DuplicateGroup> groups;
    for (auto each = identical.begin(); each != identical.end();) {
        DuplicateGroup group{.hash = hexadecimal(each->digest), .files = {}};
        const Sha256 digest = each->digest;
        for (; each != identical.end() && each->digest == digest; ++each) {
            const DuplicateCandidate& found = candidates.files()[each->file];
            group.files.push_back(duplicateFile(found, candidates.pathOf(found)));
        }
        // What was met under two names, because a folder was moved meanwhile, is one copy.
        const auto object = [](const DuplicateFile& file) {
            return std::pair(file.identity.device, file.identity.inode);
        };
        std::ranges::sort(group.files, {}, object);
        const auto again = std::ranges::unique(group.files, {}, object);
        group.files.erase(again.begin(), again.end());
        std::ranges::sort(group.files, {}, &DuplicateFile::path);
        if (group.files.size() > 1) groups.push_back(std::move(group));
    }
    return groups;
}

void sortByWaste(std::vector<DuplicateGroup>& groups) {
    std::vector<std::pair<std::uint64_t, DuplicateGroup>> weighed;
    weighed.reserve(groups.size());
    for (DuplicateGroup& group : groups) {
        const std::uint64_t wasted = group.wastedBytes();
        weighed.emplace_back(wasted, std::move(group));
    }
    std::ranges::sort(weighed, [](const auto& left, const auto& right) {
        if (left.first != right.first) return left.first > right.first;
        return left.second.files.front().path < right.second.files.front().path;
    });
    for (std::size_t index = 0; index < groups.size(); ++index)
        groups[index] = std::move(weighed[index].second);
}

}  // namespace

DuplicateScanner::DuplicateScanner(std::string home) : home_(std::move(home)) {}

std::expected<DuplicateReport, std::string> DuplicateScanner::scan(const DuplicateSearch& search) const {
    const auto root = usableRoot(search);
    if (!root) return std::unexpected(root.error());
    const auto second = std::chrono::floor<std::chrono::seconds>(search.now);
    const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(search.now - second);
    DuplicateWalk walk({.root = *root,
                        .trashes = search.trashes,
                        .leastBytes = search.leastBytes,
                        .now = second.time_since_epoch().count(),
                        .nowNanoseconds = static_cast<std::int32_t>(rest.count()),
                        .isCancelled = search.isCancelled});
    walk.run();
    const auto open = OpenFiles::current();
    if (!open) return std::unexpected(open.error().describe());
    DuplicateComparison comparison(walk.candidates, search.isCancelled);
    DuplicateReport report{.root = *root,
                           .groups = groupsOf(comparison.identical(*open), walk.candidates),
                           .skipped = std::move(walk.skipped),
                           .cancelled = walk.wasCancelled || comparison.wasCancelled(),
                           .knowsAllOpenFiles = open->isComplete()};
    for (const std::string& path : comparison.unreadable())
        report.skipped.push_back({path, SkippedLocation::Reason::unreadable});
    std::ranges::sort(report.skipped, {}, &SkippedLocation::path);
    if (canCloneFiles(*root)) std::ranges::for_each(report.groups, numberClones);
    sortByWaste(report.groups);
    return report;
}

std::expected<std::string, std::string> DuplicateScanner::usableRoot(const DuplicateSearch& search) const {
    const auto resolved = canonicalPath(search.root);
    if (!resolved) return std::unexpected(resolved.error().describe());
    const auto status = statusOf(*resolved);
    const auto homeStatus = statusOf(home_);
    if (!status) return std::unexpected(status.error().describe());
    if (!homeStatus) return std::unexpected(homeStatus.error().describe());
    if (!status->isFolder()) return refusal("%@ is no folder.", *resolved);
    if (!isAtOrBelow(*resolved, home_))
        return refusal("%@ lies outside your home folder. Choose a folder on your home volume.", *resolved);
    if (status->device != homeStatus->device || isMountedElsewhere(*resolved, home_))
        return refusal("%@ lies on another volume. Choose a folder on your home volume.", *resolved);
    if (hasExcludedAncestor(*resolved, home_))
        return refusal("%@ lies where tools keep their files, or private ones. Choose another folder.",
                       *resolved);
    if (isInTrash(*resolved, search.trashes))
        return refusal("%@ lies in the Trash. Choose another folder.", *resolved);
    if (isInProject(*resolved, home_))
        return refusal("%@ belongs to a project. Choose another folder.", *resolved);
    return *resolved;
}

std::optional<std::string> DuplicateScanner::hash(const DuplicateFile& file,
                                                  const CancellationTest& isCancelled) {
    DigestReader reader(isCancelled);
    const auto digest = reader.whole(file.path, seenFile(file));
    return digest ? std::optional(hexadecimal(*digest)) : std::nullopt;
}

bool DuplicateScanner::isUnchanged(const DuplicateFile& file) {
    const auto status = statusOf(file.path);
    return status && seenFile(file).is(*status);
}

bool DuplicateScanner::isClosed(const DuplicateFile& file) {
    const auto open = OpenFiles::current();
    return open && !open->contains(file.identity.device, file.identity.inode);
}

}  // namespace brindle
