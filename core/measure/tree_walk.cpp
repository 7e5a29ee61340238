#include "core/measure/tree_walk.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>

#include "core/measure/patient_open.h"
#include "core/model/byte_sum.h"
#include "core/platform/machine.h"

namespace brindle {

namespace {

// Waking workers for a handful of folders costs more than walking them.
constexpr std::int64_t kFoldersAlone = 24;

// Portions of large folders that wait for a worker at one time, 32 KiB each.
constexpr int kMostPortions = 32;

// As the walk spells them: the system's table knows no links.
std::vector<std::string> mountPointsBelow(const std::string& root, const MountPoints& mounts) {
    const std::string real = canonicalOr(root);
    std::vector<std::string> points = mounts.below(real);
    const std::string top = root.ends_with('/') ? root : root + '/';
    for (std::string& each : points)
        each.replace(0, real.ends_with('/') ? real.size() : real.size() + 1, top);
    return points;
}

}  // namespace

TreeWalk::TreeWalk(std::string root, MeasureOptions options, const AreaRule* rule)
    : root_(std::move(root)), options_(std::move(options)), rule_(rule) {}

void TreeWalk::runAlone() {
    measureRoot();
    walkPending(std::numeric_limits<std::int64_t>::max());
}

void TreeWalk::run(tbb::task_group& group) {
    helpers_ = &group;
    measureRoot();
    if (group_ == nullptr) walkPending(kFoldersAlone);
    if (!pending_.empty()) spread();
}

DirectoryMeasurement TreeWalk::result() const {
    DirectoryMeasurement sum;
    for (const DirectoryMeasurement& tally : tallies_) sum += tally;
    std::ranges::sort(sum.unreadablePaths);
    std::ranges::sort(sum.otherVolumePaths);
    return sum;
}

MeasuredTree TreeWalk::resultWithAreas() const {
    MeasuredTree tree{.root = rootStatus_, .whole = result(), .areas = {}, .marks = outside_.marks()};
    for (const WalkedArea& area : areas_) {
        if (auto measured = area.result()) tree.areas.push_back(std::move(*measured));
    }
    std::ranges::sort(tree.areas, {}, &MeasuredArea::path);
    return tree;
}

void TreeWalk::measureRoot() {
    DirectoryMeasurement& tally = tallies_.local();
    const auto status = statusOf(root_);
    if (!status) {
        tally.unreadablePaths.push_back(root_);
        return;
    }
    if (!status->isFolder()) {
        rootStatus_ = *status;
        count(*status, tally);
        return;
    }
    mountPoints_ = mountPointsBelow(root_, options_.mounts);
    Listing listing;
    if (rule_ != nullptr) listing.place.levelsLeft = static_cast<int>(rule_->levels);
    const int failure = openPatiently([&] { return listing.own.openPath(root_); });
    if (failure == ENOENT) return;
    if (failure != 0 || !countFolder(listing)) {
        tally.unreadablePaths.push_back(root_);
    } else if (auto first = list(listing)) {
        hand(std::move(*first));
    }
}

// The folder that has just been opened; false when even its own status cannot be read.
bool TreeWalk::countFolder(Listing& listing) {
    FileStatus status;
    if (listing.own.status(status) != 0) return false;
    if (listing.parent == nullptr) {
        rootStatus_ = status;
        rootDevice_ = status.device;
    }
    DirectoryMeasurement& tally = tallies_.local();
    listing.inode = status.inode;
    listing.isElsewhere = status.device != rootDevice_;
    if (listing.isElsewhere) {
        noteElsewhere(areaAbove(listing), pathOf(listing));
        return true;
    }
    const DirectoryMeasurement folder{.allocatedBytes = bytesOfBlocks(status.blocks), .directoryCount = 1};
    tally += folder;
    if (listing.place.area != nullptr) listing.place.area->add(folder);
    return true;
}

void TreeWalk::noteUnreadable(const Listing& listing, std::string path) {
    if (listing.place.area != nullptr) listing.place.area->add({.unreadablePaths = {path}});
    tallies_.local().unreadablePaths.push_back(std::move(path));
}

// Depth first, on this thread, until so many folders are walked or somebody else has taken over.
void TreeWalk::walkPending(std::int64_t untilFolders) {
    const DirectoryMeasurement& tally = tallies_.local();
    while (!pending_.empty() && group_ == nullptr && tally.directoryCount < untilFolders) {
        Siblings next = std::move(pending_.back());
        pending_.pop_back();
        walk(std::move(next));
    }
}

void TreeWalk::hand(Siblings siblings) {
    if (group_ == nullptr) {
        pending_.push_back(std::move(siblings));
        return;
    }
    group_->run([this, siblings = std::move(siblings)] { walk(siblings); });
}

void TreeWalk::spread() {
    group_ = helpers_;
    for (Siblings& waiting : pending_) hand(std::move(waiting));
    pending_.clear();
}

void TreeWalk::walk(Siblings siblings) {
    for (;;) {
        if (isCancelled()) return abandon(siblings);
        while (siblings.end - siblings.begin > 1) {
            const std::uint32_t middle = siblings.begin + (siblings.end - siblings.begin + 1) / 2;
            hand({siblings.folder->retain(), siblings.names, middle, siblings.end});
            siblings.end = middle;
        }
        std::optional<Siblings> below = expand(*siblings.folder, siblings.names->at(siblings.begin));
        ListedFolder::release(siblings.folder);
        if (!below) return;
        siblings = std::move(*below);
    }
}

void TreeWalk::abandon(const Siblings& siblings) {
    if (siblings.folder->isKept()) {
        for (std::uint32_t left = siblings.begin; left < siblings.end; ++left) siblings.folder->removeUser();
    }
    ListedFolder::release(siblings.folder);
}

// What lies on another volume is part of an area, but no area itself.
WalkedArea* TreeWalk::areaAbove(const Listing& listing) {
    return listing.parent != nullptr ? listing.parent->place().area : nullptr;
}

void TreeWalk::noteElsewhere(WalkedArea* area, std::string path) {
    if (area != nullptr) area->add({.otherVolumePaths = {path}});
    tallies_.local().otherVolumePaths.push_back(std::move(path));
}

WalkPlace TreeWalk::placeBelow(const ListedFolder& parent, const char* name) {
    const WalkPlace above = parent.place();
    if (above.area != nullptr || above.levelsLeft < 0) return {.area = above.area};
    if (rule_->isArea(name)) {
        std::string path = parent.pathOf(name);
        const auto claimant =
            rule_->hardlinks != nullptr ? rule_->hardlinks->claimantFor(path) : HardlinkTracker::kUnnamed;
        const std::lock_guard guard(areasLock_);
        return {.area = &areas_.emplace_back(std::move(path), claimant)};
    }
    return {.levelsLeft = *name == '.' ? -1 : above.levelsLeft - 1};
}

std::optional<TreeWalk::Siblings> TreeWalk::expand(ListedFolder& parent, const char* name) {
    Listing listing{.parent = &parent, .name = name, .place = placeBelow(parent, name)};
    OpenFolder reopened;
    const OpenFolder& above = parent.isKept() ? parent.open() : reopened;
    int failure = parent.isKept() ? 0 : openPatiently([&] { return parent.reopen(reopened); });
    if (failure == 0) failure = openPatiently([&] { return listing.own.openAt(above, name); });
    if (failure != 0) noteUnexpandable(above, listing, failure);
    if (parent.isKept()) parent.removeUser();
    if (failure != 0) return std::nullopt;

    if (!countFolder(listing)) {
        noteUnreadable(listing, pathOf(listing));
        return std::nullopt;
    }
    if (listing.isElsewhere) return std::nullopt;
    return list(listing);
}

// What the status would have told before opening: gone, no folder any more, elsewhere, or not to be read.
void TreeWalk::noteUnexpandable(const OpenFolder& above, const Listing& listing, int failure) {
    FileStatus status;
    if (above.isOpen() && failure != ENOENT) failure = above.statusAt(listing.name, status);
    if (failure == ENOENT) return;
    const bool isKnown = above.isOpen() && failure == 0;
    if (isKnown && !status.isFolder()) return;
    if (isKnown && status.device != rootDevice_) return noteElsewhere(areaAbove(listing), pathOf(listing));
    noteUnreadable(listing, pathOf(listing));
}

std::optional<TreeWalk::Siblings> TreeWalk::list(Listing& listing) {
    // A walk never nests on one thread, so one portion a thread serves every folder.
    thread_local EntryBlock block;
    FolderNames names;
    bool isAtEnd = false;
    const int failure = listing.own.read(block, isAtEnd);
    noteBrokenListing(listing, failure);
    if (failure == 0 && !isAtEnd) {
        examine(block, listing, names);
        listFurther(listing, names);
    }
    std::optional<Siblings> below;
    if (names.count() > 0) below = siblings(listedFolder(listing), std::move(names));
    if (listing.listed != nullptr) {
        listing.listed->removeUser();
        ListedFolder::release(listing.listed);
    }
    return below;
}

// A folder that is removed while it is listed has no further entries, and nobody need be told.
void TreeWalk::noteBrokenListing(const Listing& listing, int failure) {
    if (failure != 0 && failure != ENOENT) noteUnreadable(listing, pathOf(listing));
}

// The portions after the first. Each that another worker can examine goes to it together with the descriptor.
void TreeWalk::listFurther(Listing& listing, FolderNames& names) {
    Portion portion;
    while (!isCancelled()) {
        if (!portion) portion = std::make_shared<EntryBlock>();
        bool isAtEnd = false;
        const int failure = listing.open().read(*portion, isAtEnd);
        noteBrokenListing(listing, failure);
        if (failure != 0 || isAtEnd) return;
        if (helpers_ != nullptr && portionsHanded_.load(std::memory_order_relaxed) < kMostPortions) {
            handPortion(listedFolder(listing), std::move(portion));
            portion = nullptr;
        } else {
            examine(*portion, listing, names);
        }
    }
}

void TreeWalk::handPortion(ListedFolder& folder, Portion portion) {
    if (group_ == nullptr) spread();
    portionsHanded_.fetch_add(1, std::memory_order_relaxed);
    folder.addUsers(1);
    group_->run([this, kept = folder.retain(), portion = std::move(portion)] {
        FolderNames names;
        Listing listing{.place = kept->place(), .listed = kept};
        examine(*portion, listing, names);
        if (names.count() > 0) hand(siblings(*kept, std::move(names)));
        kept->removeUser();
        ListedFolder::release(kept);
        portionsHanded_.fetch_sub(1, std::memory_order_relaxed);
    });
}

ListedFolder& TreeWalk::listedFolder(Listing& listing) {
    if (listing.listed == nullptr) {
        ListedFolder* parent = listing.parent ? listing.parent->retain() : nullptr;
        listing.listed = new ListedFolder(parent, parent ? listing.name : root_, std::move(listing.own),
                                          listing.inode, listing.place);
    }
    return *listing.listed;
}

TreeWalk::Siblings TreeWalk::siblings(ListedFolder& folder, FolderNames names) {
    const std::uint32_t count = names.count();
    if (folder.isKept()) folder.addUsers(count);
    return {folder.retain(), std::make_shared<const FolderNames>(std::move(names)), 0, count};
}

void TreeWalk::examine(EntryBlock& block, Listing& listing, FolderNames& names) {
    DirectoryMeasurement& tally = tallies_.local();
    DirectoryMeasurement ofArea;
    ListedEntry entry;
    while (!isCancelled() && block.next(entry)) {
        if (rule_ != nullptr && rule_->isMark(entry.name, listing.place.area != nullptr))
            noteMark(listing, entry.name);
        if (isMountPoint(listing, entry.name)) {
            noteElsewhere(listing.place.area, pathOf(listing, entry.name));
            continue;
        }
        if (entry.kind == ListedEntry::Kind::folder) {
            names.add(entry.name);
            continue;
        }
        FileStatus status;
        if (listing.open().statusAt(entry.name, status) != 0) {
            noteUnreadable(listing, pathOf(listing, entry.name));
        } else if (status.isFolder()) {
            names.add(entry.name);
        } else {
            count(status, tally);
            if (listing.place.area != nullptr)
                countFile(status, ofArea, rule_->hardlinks, listing.place.area->claimant());
        }
    }
    if (listing.place.area != nullptr) listing.place.area->add(ofArea);
}

void TreeWalk::noteMark(const Listing& listing, const char* name) {
    std::string path = pathOf(listing, name);
    if (rule_->keepsMark && !rule_->keepsMark(path)) return;
    (listing.place.area != nullptr ? *listing.place.area : outside_).addMark(std::move(path));
}

// Paths are built for names alone that could be one.
bool TreeWalk::isMountPoint(const Listing& listing, const char* name) const {
    return std::ranges::any_of(mountPoints_, [&](const std::string& each) {
        return each.ends_with(name) && each == pathOf(listing, name);
    });
}

void TreeWalk::count(const FileStatus& status, DirectoryMeasurement& tally) const {
    if (status.linkCount >= 2 && options_.onLinkedFile) return options_.onLinkedFile(status);
    countFile(status, tally, options_.hardlinks);
}

void TreeWalk::countFile(const FileStatus& status, DirectoryMeasurement& tally, HardlinkTracker* hardlinks,
                         HardlinkTracker::Claimant claimant) {
    const std::uint64_t bytes = bytesOfBlocks(status.blocks);
    if (status.linkCount >= 2) {
        if (hardlinks != nullptr && !hardlinks->claim(status.device, status.inode, claimant)) {
            tally.deduplicatedBytes = addBytes(tally.deduplicatedBytes, bytes);
            return;
        }
        tally.hardLinkedBytes = addBytes(tally.hardLinkedBytes, bytes);
    }
    tally.fileCount += 1;
    tally.allocatedBytes = addBytes(tally.allocatedBytes, bytes);
    tally.logicalBytes = addApparentBytes(tally.logicalBytes,
                                          static_cast<std::uint64_t>(std::max<std::int64_t>(status.size, 0)));
    tally.foldModified(std::chrono::sys_seconds(std::chrono::seconds(status.modified)));
}

std::string TreeWalk::pathOf(const Listing& listing) const {
    if (listing.listed != nullptr) return listing.listed->path();
    return listing.parent != nullptr ? listing.parent->pathOf(listing.name) : root_;
}

std::string TreeWalk::pathOf(const Listing& listing, const char* name) const {
    std::string path = pathOf(listing);
    if (!path.ends_with('/')) path += '/';
    return path.append(name);
}

}  // namespace brindle
