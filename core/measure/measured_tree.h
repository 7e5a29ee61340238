// A tree that was walked once, and the parts of it that are of interest by themselves.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/measure/hardlink_tracker.h"
#include "core/model/directory_measurement.h"
#include "core/platform/file_status.h"

namespace brindle {

// Which parts. Both tests are called from several threads at once.
struct AreaRule {
    // Whether a folder of this name is an area. Asked in the root, and in every folder at most `levels` below it that is
    // reached without passing through an area or a hidden folder.
    std::function<bool(std::string_view name)> isArea;
    unsigned levels = 4;
    // Whether an entry of this name, of any type and anywhere in the tree, is to be listed. Beyond kMostMarks of them it
    // is not known what else there is: no more than is needed.
    std::function<bool(std::string_view name, bool isInArea)> isMark;
    // Of those the ones that are worth listing, by their path; null: all.
    std::function<bool(std::string_view path)> keepsMark = nullptr;
    // For the numbers of the areas; the walk's own tracker is for those of the whole. What it claims is claimed for the
    // area's path.
    HardlinkTracker* hardlinks = nullptr;
};

struct MeasuredArea {
    std::string path;
    DirectoryMeasurement measurement;  // as a walk of this folder alone would give
    std::vector<std::string> marks;    // inside it, sorted
};

struct MeasuredTree {
    // Of each area, and of what lies outside all of them: a tree full of marks costs no memory.
    static constexpr std::size_t kMostMarks = 1000;

    std::optional<FileStatus> root;  // as it was opened, or found when it is no folder
    DirectoryMeasurement whole;
    std::vector<MeasuredArea> areas;  // sorted by path; none of them lies on another volume than the root
    std::vector<std::string> marks;   // outside the areas, sorted
};

}  // namespace brindle
