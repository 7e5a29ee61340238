// Which of many files have the same content, reading as little as that takes.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/insight/duplicate_walk.h"
#include "core/insight/file_digest.h"
#include "core/platform/open_files.h"

namespace brindle {

struct ComparedFile {
    std::uint32_t file = 0;  // its place among the candidates
    bool isKnown = false;    // it has been read
    Sha256 digest = {};
};

// By size, then by both ends, then by all of it: a file that differs from every other is given up as soon as that is
// known, and one of a unique size is never opened. What is read is read in the order in which it lies on the disk, by
// several readers at once. Memory goes with the number of files, never with their size.
class DuplicateComparison {
  public:
    DuplicateComparison(const DuplicateCandidates& candidates, CancellationTest isCancelled)
        : candidates_(candidates), isCancelled_(std::move(isCancelled)) {}

    // Of each content that two or more files have, these files beside each other, with the digest of the whole; those that
    // are open in a program, have changed or cannot be read are left out. Cancelled, what was compared by then.
    std::vector<ComparedFile> identical(const OpenFiles& open);

    bool wasCancelled() const { return isStopped_; }
    // Those that lie there and may not be read.
    const std::set<std::string>& unreadable() const { return unreadable_; }

  private:
    enum class Extent { ends, whole };

    const SeenFile& seen(std::uint32_t file) const { return candidates_.files()[file].seen; }
    std::vector<std::uint32_t> ofRepeatedSize(const OpenFiles& open) const;
    std::vector<ComparedFile> digests(std::vector<std::uint32_t> files, Extent extent);
    bool isStopped();

    const DuplicateCandidates& candidates_;
    CancellationTest isCancelled_;
    std::atomic<bool> isStopped_ = false;
    std::mutex lock_;  // of the next
    std::set<std::string> unreadable_;
};

}  // namespace brindle
