#include "core/insight/duplicate_walk.h"

#include <tbb/task_group.h>

#include <algorithm>
#include <cerrno>
#include <ranges>
#include <utility>

#include "core/insight/duplicate_tables.h"
#include "core/measure/patient_open.h"
#include "core/measure/walk_workers.h"
#include "core/model/byte_sum.h"
#include "core/platform/path_text.h"
#include "core/projects/project_tables.h"

namespace brindle {

namespace {

using Reason = SkippedLocation::Reason;

// A file that was written to within this time may be written to still.
constexpr std::int64_t kQuietSeconds = 600;

}  // namespace

// What one worker finds in one folder, before it is told to the others.
struct DuplicateWalk::Listing {
    std::uint32_t folder = 0;
    std::string path;
    OpenFolder own;
    std::string names;  // a letter for the kind, the name, NUL
    bool isProject = false;
    int failure = 0;
    std::vector<std::string_view> folders = {};  // into `names`
    std::vector<std::pair<DuplicateCandidate, std::string_view>> files = {};
    std::vector<SkippedLocation> skipped = {};
};

DuplicateCandidates::DuplicateCandidates(std::string root) : root_(std::move(root)), folders_{{0, 0}} {}

std::uint64_t DuplicateCandidates::keep(std::string_view name) {
    const std::uint64_t place = names_.size();
    names_.append(name);
    names_ += '\0';
    return place;
}

std::uint32_t DuplicateCandidates::addFolder(std::uint32_t above, std::string_view name) {
    folders_.push_back({above, keep(name)});
    return static_cast<std::uint32_t>(folders_.size() - 1);
}

void DuplicateCandidates::addFile(DuplicateCandidate file, std::string_view name) {
    file.name = keep(name);
    files_.push_back(file);
}

std::string DuplicateCandidates::pathOfFolder(std::uint32_t folder) const {
    std::vector<const char*> names;
    for (; folder != 0; folder = folders_[folder].above)
        names.push_back(names_.c_str() + folders_[folder].name);
    std::string path = root_;
    for (const char* name : names | std::views::reverse) path.append("/").append(name);
    return path;
}

std::string DuplicateCandidates::pathOf(const DuplicateCandidate& file) const {
    return pathOfFolder(file.folder) + "/" + (names_.c_str() + file.name);
}

DuplicateWalk::DuplicateWalk(DuplicateWalkOptions options)
    : candidates(options.root), options_(std::move(options)) {
    for (std::string& place : MountPoints::current().below(options_.root)) mounted_.insert(std::move(place));
}

void DuplicateWalk::run() {
    OpenFolder root;
    FileStatus status;
    int failure = openPatiently([&] { return root.openWithoutLinks(options_.root); });
    if (failure == 0) failure = root.status(status);
    if (failure != 0) {
        skipped.push_back({options_.root, Reason::unreadable});
        return;
    }
    device_ = status.device;
    root.close();
    walkArena().execute([&] {
        tbb::task_group visits;
        const Feed feed = [&](std::uint32_t folder) { visits.run([&, folder] { visit(folder, feed); }); };
        feed(0);
        visits.wait();
    });
    std::ranges::sort(skipped, {}, &SkippedLocation::path);
}

void DuplicateWalk::visit(std::uint32_t folder, const Feed& feed) {
    Listing listing{.folder = folder, .path = {}, .own = {}, .names = {}};
    {
        const std::scoped_lock guard(lock_);
        wasCancelled = wasCancelled || (options_.isCancelled && options_.isCancelled());
        if (wasCancelled) return;
        listing.path = candidates.pathOfFolder(folder);
    }
    if (mounted_.contains(listing.path)) {
        listing.skipped.push_back({listing.path, Reason::otherVolume});
    } else {
        listing.failure = open(listing);
        if (listing.failure == 0 && listing.skipped.empty()) listNames(listing);
        // What could not be listed to its end may be a project.
        if (listing.failure == 0 && listing.skipped.empty()) takeEntries(listing);
        if (listing.failure != 0 && listing.failure != ENOENT)
            listing.skipped.push_back({listing.path, Reason::unreadable});
    }
    merge(listing, feed);
}

int DuplicateWalk::open(Listing& listing) const {
    FileStatus status;
    int failure = openPatiently([&] { return listing.own.openWithoutLinks(listing.path); });
    if (failure == 0) failure = listing.own.status(status);
    if (failure == 0 && status.device != device_)
        listing.skipped.push_back({listing.path, Reason::otherVolume});
    return failure;
}

void DuplicateWalk::listNames(Listing& listing) const {
    EntryBlock block;
    bool isAtEnd = false;
    while (!isAtEnd && !listing.isProject) {
        listing.failure = listing.own.read(block, isAtEnd);
        if (listing.failure != 0) return;
        for (ListedEntry entry; block.next(entry);) {
            listing.isProject = listing.isProject || (listing.folder != 0 && marksProject(entry.name));
            listing.names += entry.kind == ListedEntry::Kind::folder  ? 'd'
                             : entry.kind == ListedEntry::Kind::other ? 'f'
                                                                      : '?';
            listing.names.append(entry.name) += '\0';
        }
    }
    if (listing.isProject) listing.skipped.push_back({listing.path, Reason::project});
}

void DuplicateWalk::takeEntries(Listing& listing) const {
    for (std::size_t at = 0; at < listing.names.size();) {
        const char kind = listing.names[at];
        const std::string_view name = listing.names.c_str() + at + 1;
        at += name.size() + 2;
        FileStatus status;
        const bool isUnknown = kind == '?' && listing.own.statusAt(name.data(), status) == 0;
        if (kind == 'd' || (isUnknown && status.isFolder())) {
            takeFolder(listing, name);
        } else {
            takeFile(listing, name.data());
        }
    }
}

void DuplicateWalk::takeFolder(Listing& listing, std::string_view name) const {
    std::string path = listing.path + "/" + std::string(name);
    if (isExcludedFolder(name)) {
        listing.skipped.push_back({std::move(path), Reason::excluded});
    } else if (options_.trashes.contains(path) || isTrashFolder(path)) {
        listing.skipped.push_back({std::move(path), Reason::trash});
    } else {
        listing.folders.push_back(name);
    }
}

// Most names are ruled out without a status call.
void DuplicateWalk::takeFile(Listing& listing, const char* name) const {
    FileStatus status;
    if (*name == '.' || isSourceFile(name) || listing.own.statusAt(name, status) != 0) return;
    // A mounted file is another one's second name.
    if (!isCandidate(status) || (!mounted_.empty() && mounted_.contains(listing.path + "/" + name))) return;
    const SeenFile seen{.device = status.device,
                        .inode = status.inode,
                        .size = static_cast<std::uint64_t>(status.size),
                        .modified = status.modified,
                        .modifiedNanoseconds = status.modifiedNanoseconds};
    listing.files.emplace_back(DuplicateCandidate{.seen = seen,
                                                  .mode = status.mode,
                                                  .hasHoles = bytesOfBlocks(status.blocks) < seen.size,
                                                  .folder = listing.folder},
                               name);
}

bool DuplicateWalk::isCandidate(const FileStatus& status) const {
    if (!status.isRegular() || status.linkCount != 1 || status.device != device_ || status.size < 1)
        return false;
    if (static_cast<std::uint64_t>(status.size) < options_.leastBytes) return false;
    return std::pair(status.modified, status.modifiedNanoseconds) <
           std::pair(options_.now - kQuietSeconds, options_.nowNanoseconds);
}

void DuplicateWalk::merge(const Listing& listing, const Feed& feed) {
    std::vector<std::uint32_t> below;
    {
        const std::scoped_lock guard(lock_);
        for (const std::string_view name : listing.folders)
            below.push_back(candidates.addFolder(listing.folder, name));
        for (const auto& [file, name] : listing.files) candidates.addFile(file, name);
        skipped.insert(skipped.end(), listing.skipped.begin(), listing.skipped.end());
    }
    std::ranges::for_each(below, feed);
}

}  // namespace brindle
