// A folder whose listing found more to do: kept until everything below it is walked.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/measure/measured_tree.h"
#include "core/platform/open_folder.h"

namespace brindle {

// How many folders a process keeps open for the sake of what is pending in them. Others are opened again by
// their path, which is slower in deep trees and right everywhere.
class DescriptorBudget {
  public:
    static DescriptorBudget& ofProcess();
    bool take();
    void giveBack();

  private:
    explicit DescriptorBudget(int limit) : left_(limit) {}
    std::atomic<int> left_;
};

// A part of the tree that is also measured by itself. Any thread may add to it.
class WalkedArea {
  public:
    // `claimant` stands for it among those who claim files with several names.
    explicit WalkedArea(std::string path, HardlinkTracker::Claimant claimant = HardlinkTracker::kUnnamed)
        : path_(std::move(path)), claimant_(claimant) {}

    HardlinkTracker::Claimant claimant() const { return claimant_; }

    void add(const DirectoryMeasurement& counted);
    void addMark(std::string path);

    // After the walk; absent when nothing that could be measured lay there.
    std::optional<MeasuredArea> result() const;
    std::vector<std::string> marks() const;  // sorted

  private:
    const std::string path_;
    const HardlinkTracker::Claimant claimant_;
    std::mutex lock_;
    std::optional<DirectoryMeasurement> tally_;
    std::vector<std::string> marks_;
};

// Where a folder lies: in an area, or so few levels below the root that areas may begin in it.
struct WalkPlace {
    WalkedArea* area = nullptr;
    int levelsLeft = -1;  // negative: no area begins here
};

// Counted by hand: references go up a chain of parents that may be thousands long, so releasing is a loop
// where a shared pointer's destructor would be a recursion.
class ListedFolder {
  public:
    // Takes over a reference to `parent` (null for the root, whose name is its whole path).
    ListedFolder(ListedFolder* parent, std::string_view name, OpenFolder folder, std::uint64_t inode,
                 WalkPlace place);

    ListedFolder* retain();
    static void release(ListedFolder* folder);

    // The path of an entry, or of the folder itself; built only when somebody has to be told.
    std::string path() const;
    std::string pathOf(std::string_view name) const;

    // The descriptor stays open while it is in use: by the listing, by each portion of it that another worker
    // examines, and, when the budget allows it, by each subfolder that is not open yet.
    void addUsers(std::uint32_t count);
    void removeUser();
    const OpenFolder& open() const { return open_; }
    OpenFolder& listing() { return open_; }  // for the one thread that lists it

    // Opens the folder again by its path. 0 or an errno; ENOENT when another folder lies there now.
    int reopen(OpenFolder& folder) const;

    // Whether subfolders hold the descriptor; fixed at construction.
    bool isKept() const { return isKept_; }

    WalkPlace place() const { return place_; }

  private:
    ~ListedFolder() = default;

    ListedFolder* parent_;
    std::string name_;
    OpenFolder open_;
    const std::uint64_t inode_;
    const WalkPlace place_;
    const bool isKept_;
    std::atomic<std::uint32_t> references_{1};
    std::atomic<std::uint32_t> users_{1};
};

// The names of some subfolders of one folder, packed.
class FolderNames {
  public:
    void add(const char* name);
    std::uint32_t count() const { return static_cast<std::uint32_t>(starts_.size()); }
    const char* at(std::uint32_t index) const { return bytes_.data() + starts_[index]; }

  private:
    std::string bytes_;
    std::vector<std::uint32_t> starts_;
};

}  // namespace brindle
