// What a path occupies, and where it could not be looked at.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/model/raw_text.h"

namespace brindle {

struct DirectoryMeasurement {
    enum class Source {
        measured,  // walked on disk
        reported,  // a figure given by the tool itself
    };

    Source source = Source::measured;
    std::uint64_t allocatedBytes = 0;  // blocks x 512 of every counted file and every walked folder itself
    std::uint64_t logicalBytes = 0;    // sizes of the counted files
    std::int64_t fileCount = 0;        // everything that is no folder
    std::int64_t directoryCount = 0;   // folders opened and walked
    std::optional<std::chrono::sys_seconds> newestModified = {};  // of a counted file
    std::optional<std::chrono::sys_seconds> oldestModified = {};
    std::vector<std::string> unreadablePaths =
        {};  // status or listing could not be read; sorted after a walk
    std::vector<std::string> otherVolumePaths = {};  // on another volume, not entered; sorted after a walk
    std::uint64_t deduplicatedBytes = 0;   // hard-linked files already counted elsewhere in this scan
    std::uint64_t hardLinkedBytes = 0;     // of allocatedBytes, the files that have further names somewhere
    std::vector<std::string> places = {};  // what was measured, where whoever asked says so

    bool operator==(const DirectoryMeasurement&) const = default;
    DirectoryMeasurement& operator+=(const DirectoryMeasurement& other);
    friend DirectoryMeasurement operator+(DirectoryMeasurement left, const DirectoryMeasurement& right) {
        return left += right;
    }

    bool isComplete() const { return unreadablePaths.empty() && otherVolumePaths.empty(); }

    // The apparent size exceeds what is occupied by far: a disk image, say. Small differences never count.
    bool isSparse() const;

    // Where the number comes from, localised.
    std::string provenance() const;

    // Folds one file's modification time into newest and oldest.
    void foldModified(std::chrono::sys_seconds moment);
};

template <>
struct RawTexts<DirectoryMeasurement::Source> {
    static constexpr std::array<std::string_view, 2> kTexts = {"measured", "reported"};
};

}  // namespace brindle
