// The files below a folder that may be duplicates: one walk by all the workers of the process.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/insight/file_digest.h"
#include "core/measure/directory_sizer.h"
#include "core/model/duplicate_report.h"
#include "core/platform/mount_points.h"
#include "core/platform/open_folder.h"

namespace brindle {

// One of perhaps a million: its folder and its name are places in lists.
struct DuplicateCandidate {
    SeenFile seen;
    std::uint16_t mode = 0;
    bool hasHoles = false;  // it takes less room than its size
    std::uint32_t folder = 0;
    std::uint64_t name = 0;
};

// Folders know the one above them, names lie in one text: a path is put together when it is asked for.
class DuplicateCandidates {
  public:
    explicit DuplicateCandidates(std::string root);

    std::uint32_t addFolder(std::uint32_t above, std::string_view name);
    void addFile(DuplicateCandidate file, std::string_view name);

    const std::vector<DuplicateCandidate>& files() const { return files_; }
    std::string pathOf(const DuplicateCandidate& file) const;
    std::string pathOfFolder(std::uint32_t folder) const;

  private:
    struct Folder {
        std::uint32_t above;
        std::uint64_t name;
    };
    std::uint64_t keep(std::string_view name);

    std::string root_;
    std::string names_;  // each ends with NUL
    std::vector<Folder> folders_;
    std::vector<DuplicateCandidate> files_;
};

struct DuplicateWalkOptions {
    std::string root;               // absolute, links resolved
    std::set<std::string> trashes;  // folders that are not entered
    std::uint64_t leastBytes = 1;
    std::int64_t now = 0;  // seconds since 1970, with the part of a second beside it
    std::int32_t nowNanoseconds = 0;
    CancellationTest isCancelled;
};

class DuplicateWalk {
  public:
    explicit DuplicateWalk(DuplicateWalkOptions options);

    // Blocks. Cancelled, it stops before the next folder.
    void run();

    DuplicateCandidates candidates;
    std::vector<SkippedLocation> skipped;
    bool wasCancelled = false;

  private:
    struct Listing;
    using Feed = std::function<void(std::uint32_t)>;

    void visit(std::uint32_t folder, const Feed& feed);
    int open(Listing& listing) const;
    void listNames(Listing& listing) const;
    void takeEntries(Listing& listing) const;
    void takeFolder(Listing& listing, std::string_view name) const;
    void takeFile(Listing& listing, const char* name) const;
    bool isCandidate(const FileStatus& status) const;
    void merge(const Listing& listing, const Feed& feed);

    DuplicateWalkOptions options_;
    std::set<std::string, std::less<>> mounted_;
    std::int32_t device_ = 0;
    std::mutex lock_;  // of what is found
};

}  // namespace brindle
