#include "core/measure/listed_folder.h"

#include <algorithm>
#include <cerrno>

#include "core/measure/walk_workers.h"
#include "core/platform/machine.h"

namespace brindle {

namespace {

// The process needs others as well: the workers' own folders, large folders whose portions wait, tools and files.
int descriptorsToKeep() {
    constexpr int kMost = 128;
    const int forOthers = 2 * walkWorkerCount() + 64;
    const auto limit = static_cast<std::int64_t>(std::min<std::uint64_t>(descriptorLimit(), 1 << 20));
    return static_cast<int>(std::clamp<std::int64_t>(limit - forOthers, 0, kMost));
}

}  // namespace

DescriptorBudget& DescriptorBudget::ofProcess() {
    static DescriptorBudget budget(descriptorsToKeep());
    return budget;
}

bool DescriptorBudget::take() {
    if (left_.fetch_sub(1, std::memory_order_relaxed) > 0) return true;
    left_.fetch_add(1, std::memory_order_relaxed);
    return false;
}

void DescriptorBudget::giveBack() {
    left_.fetch_add(1, std::memory_order_relaxed);
}

void WalkedArea::add(const DirectoryMeasurement& counted) {
    const std::lock_guard guard(lock_);
    if (!tally_) tally_.emplace();
    *tally_ += counted;
}

void WalkedArea::addMark(std::string path) {
    const std::lock_guard guard(lock_);
    if (marks_.size() < MeasuredTree::kMostMarks) marks_.push_back(std::move(path));
}

std::optional<MeasuredArea> WalkedArea::result() const {
    if (!tally_) return std::nullopt;
    MeasuredArea area{path_, *tally_, marks()};
    std::ranges::sort(area.measurement.unreadablePaths);
    std::ranges::sort(area.measurement.otherVolumePaths);
    return area;
}

std::vector<std::string> WalkedArea::marks() const {
    std::vector<std::string> sorted = marks_;
    std::ranges::sort(sorted);
    return sorted;
}

ListedFolder::ListedFolder(ListedFolder* parent, std::string_view name, OpenFolder folder,
                           std::uint64_t inode, WalkPlace place)
    : parent_(parent),
      name_(name),
      open_(std::move(folder)),
      inode_(inode),
      place_(place),
      isKept_(DescriptorBudget::ofProcess().take()) {}

ListedFolder* ListedFolder::retain() {
    references_.fetch_add(1, std::memory_order_relaxed);
    return this;
}

void ListedFolder::release(ListedFolder* folder) {
    while (folder != nullptr && folder->references_.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        ListedFolder* parent = folder->parent_;
        delete folder;
        folder = parent;
    }
}

std::string ListedFolder::path() const {
    std::vector<const ListedFolder*> chain;
    for (const ListedFolder* folder = this; folder != nullptr; folder = folder->parent_)
        chain.push_back(folder);
    std::string path = chain.back()->name_;
    for (auto folder = chain.rbegin() + 1; folder != chain.rend(); ++folder) {
        if (!path.ends_with('/')) path += '/';
        path += (*folder)->name_;
    }
    return path;
}

std::string ListedFolder::pathOf(std::string_view name) const {
    std::string whole = path();
    if (!whole.ends_with('/')) whole += '/';
    return whole.append(name);
}

int ListedFolder::reopen(OpenFolder& folder) const {
    FileStatus status;
    int failure = folder.openPath(path());
    if (failure == 0) failure = folder.status(status);
    if (failure != 0) return failure;
    return status.inode == inode_ ? 0 : ENOENT;
}

void ListedFolder::addUsers(std::uint32_t count) {
    users_.fetch_add(count, std::memory_order_relaxed);
}

void ListedFolder::removeUser() {
    if (users_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    open_.close();
    if (isKept_) DescriptorBudget::ofProcess().giveBack();
}

void FolderNames::add(const char* name) {
    starts_.push_back(static_cast<std::uint32_t>(bytes_.size()));
    bytes_.append(name).push_back('\0');
}

}  // namespace brindle
