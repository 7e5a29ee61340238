#include "core/measure/tree_walk.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <limits>
#include <thread>

#include "core/model/byte_sum.h"

namespace brindle {

namespace {

// Waking workers for a handful of folders costs more than walking them.
constexpr std::int64_t kFoldersAlone = 24;

// Portions of large folders that wait for a worker at one time, 32 KiB each.
constexpr int kMostPortions = 32;

// Other parts of the program may hold every descriptor for a moment.
constexpr int kDescriptorTries = 200;
constexpr auto kDescriptorPause = std::chrono::milliseconds(5);

// `open` returns 0 or an errno.
template <typename Open>
int openPatiently(Open open) {
    for (int tries = 0;; ++tries) {
        const int failure = open();
        if ((failure != EMFILE && failure != ENFILE) || tries == kDescriptorTries) return failure;
        std::this_thread::sleep_for(kDescriptorPause);
    }
}

}  // namespace

TreeWalk::TreeWalk(std::string root, MeasureOptions options)
    : root_(std::move(root)), options_(std::move(options)) {}

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

void TreeWalk::measureRoot() {
    DirectoryMeasurement& tally = tallies_.local();
    const auto status = statusOf(root_);
    if (!status) {
        tally.unreadablePaths.push_back(root_);
        return;
    }
    if (!status->isFolder()) {
        countFile(*status, tally);
        return;
    }
    Listing listing;
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
    if (listing.parent == nullptr) rootDevice_ = status.device;
    DirectoryMeasurement& tally = tallies_.local();
    listing.inode = status.inode;
    listing.isElsewhere = status.device != rootDevice_;
    if (listing.isElsewhere) {
        tally.otherVolumePaths.push_back(pathOf(listing));
        return true;
    }
    tally.directoryCount += 1;
    tally.allocatedBytes = addBytes(tally.allocatedBytes, bytesOfBlocks(status.blocks));
    return true;
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

std::optional<TreeWalk::Siblings> TreeWalk::expand(ListedFolder& parent, const char* name) {
    Listing listing{.parent = &parent, .name = name};
    OpenFolder reopened;
    const OpenFolder& above = parent.isKept() ? parent.open() : reopened;
    int failure = parent.isKept() ? 0 : openPatiently([&] { return parent.reopen(reopened); });
    if (failure == 0) failure = openPatiently([&] { return listing.own.openAt(above, name); });
    if (failure != 0) noteUnexpandable(above, listing, failure);
    if (parent.isKept()) parent.removeUser();
    if (failure != 0) return std::nullopt;

    if (!countFolder(listing)) {
        tallies_.local().unreadablePaths.push_back(pathOf(listing));
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
    DirectoryMeasurement& tally = tallies_.local();
    const bool isElsewhere = isKnown && status.device != rootDevice_;
    (isElsewhere ? tally.otherVolumePaths : tally.unreadablePaths).push_back(pathOf(listing));
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
    if (failure != 0 && failure != ENOENT) tallies_.local().unreadablePaths.push_back(pathOf(listing));
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
        Listing listing{.listed = kept};
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
        listing.listed =
            new ListedFolder(parent, parent ? listing.name : root_, std::move(listing.own), listing.inode);
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
    ListedEntry entry;
    while (!isCancelled() && block.next(entry)) {
        if (entry.kind == ListedEntry::Kind::folder) {
            names.add(entry.name);
            continue;
        }
        FileStatus status;
        if (listing.open().statusAt(entry.name, status) != 0) {
            std::string path = pathOf(listing);
            if (!path.ends_with('/')) path += '/';
            tally.unreadablePaths.push_back(path.append(entry.name));
        } else if (status.isFolder()) {
            names.add(entry.name);
        } else {
            countFile(status, tally);
        }
    }
}

void TreeWalk::countFile(const FileStatus& status, DirectoryMeasurement& tally) {
    const std::uint64_t bytes = bytesOfBlocks(status.blocks);
    if (status.linkCount >= 2) {
        if (options_.hardlinks && !options_.hardlinks->claim(status.device, status.inode)) {
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

}  // namespace brindle
