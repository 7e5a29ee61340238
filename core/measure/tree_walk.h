// One walk of one tree: the step that the serial and the parallel walk share.
//
// Work is a range of subfolders of one listed folder. Whoever takes a range hands its right half on and goes
// down the left one, so an idle worker always finds a large piece, the pieces waiting are few, and a chain of
// folders is walked without a stack. A folder too large for one portion of a listing hands its further
// portions on as well.
#pragma once

#include <tbb/enumerable_thread_specific.h>
#include <tbb/task_group.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "core/measure/directory_sizer.h"
#include "core/measure/listed_folder.h"

namespace brindle {

class TreeWalk {
  public:
    // `rule` may be null, and must outlive the walk.
    TreeWalk(std::string root, MeasureOptions options, const AreaRule* rule = nullptr);

    // Everything on the calling thread.
    void runAlone();

    // Begins on the calling thread and hands on to the group what is worth it; finished when the group is.
    void run(tbb::task_group& group);

    // After the walk: the sum of what every thread counted, path lists sorted.
    DirectoryMeasurement result() const;
    MeasuredTree resultWithAreas() const;

  private:
    // Owns a reference to the folder.
    struct Siblings {
        ListedFolder* folder = nullptr;
        std::shared_ptr<const FolderNames> names;
        std::uint32_t begin = 0;
        std::uint32_t end = 0;
    };

    // A folder while it is listed: its name below its parent, and itself as soon as there is more to do in
    // it.
    struct Listing {
        ListedFolder* parent = nullptr;
        const char* name = "";
        std::uint64_t inode = 0;
        WalkPlace place = {};
        bool isElsewhere = false;  // on another volume
        OpenFolder own = {};
        ListedFolder* listed = nullptr;

        OpenFolder& open() { return listed ? listed->listing() : own; }
    };

    using Portion = std::shared_ptr<EntryBlock>;

    void measureRoot();
    void walkPending(std::int64_t untilFolders);
    void hand(Siblings siblings);
    void spread();
    void walk(Siblings siblings);
    void abandon(const Siblings& siblings);
    WalkPlace placeBelow(const ListedFolder& parent, const char* name);
    std::optional<Siblings> expand(ListedFolder& parent, const char* name);
    bool countFolder(Listing& listing);
    static WalkedArea* areaAbove(const Listing& listing);
    void noteElsewhere(WalkedArea* area, std::string path);
    void noteUnreadable(const Listing& listing, std::string path);
    void noteUnexpandable(const OpenFolder& above, const Listing& listing, int failure);
    void noteBrokenListing(const Listing& listing, int failure);
    std::optional<Siblings> list(Listing& listing);
    void listFurther(Listing& listing, FolderNames& names);
    void handPortion(ListedFolder& folder, Portion portion);
    ListedFolder& listedFolder(Listing& listing);
    Siblings siblings(ListedFolder& folder, FolderNames names);
    void examine(EntryBlock& block, Listing& listing, FolderNames& names);
    void count(const FileStatus& status, DirectoryMeasurement& tally) const;
    static void countFile(const FileStatus& status, DirectoryMeasurement& tally, HardlinkTracker* hardlinks,
                          HardlinkTracker::Claimant claimant = HardlinkTracker::kUnnamed);
    void noteMark(const Listing& listing, const char* name);
    bool isMountPoint(const Listing& listing, const char* name) const;
    std::string pathOf(const Listing& listing) const;
    std::string pathOf(const Listing& listing, const char* name) const;
    bool isCancelled() const { return options_.isCancelled && options_.isCancelled(); }

    const std::string root_;
    const MeasureOptions options_;
    const AreaRule* const rule_;
    std::int32_t rootDevice_ = 0;
    std::optional<FileStatus> rootStatus_;
    std::vector<std::string> mountPoints_;  // in this tree, mostly none
    tbb::task_group* helpers_ = nullptr;    // who could help
    tbb::task_group* group_ = nullptr;      // who does; null while everything is still on one thread
    std::vector<Siblings> pending_;         // used while `group_` is null
    std::atomic<int> portionsHanded_{0};
    tbb::enumerable_thread_specific<DirectoryMeasurement> tallies_;
    std::mutex areasLock_;
    std::deque<WalkedArea> areas_;       // stay where they are
    WalkedArea outside_{std::string()};  // for the marks that lie in no area
};

}  // namespace brindle
