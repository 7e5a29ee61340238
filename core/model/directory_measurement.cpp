#include "core/model/directory_measurement.h"

#include <algorithm>

#include "core/model/byte_sum.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

// Below this a difference between apparent and occupied size is nothing to tell anybody about.
constexpr std::uint64_t kLeastSparseDifference = 64'000'001;

void append(std::vector<std::string>& paths, const std::vector<std::string>& more) {
    paths.insert(paths.end(), more.begin(), more.end());
}

}  // namespace

void DirectoryMeasurement::foldModified(std::chrono::sys_seconds moment) {
    newestModified = newestModified ? std::max(*newestModified, moment) : moment;
    oldestModified = oldestModified ? std::min(*oldestModified, moment) : moment;
}

DirectoryMeasurement& DirectoryMeasurement::operator+=(const DirectoryMeasurement& other) {
    allocatedBytes = addBytes(allocatedBytes, other.allocatedBytes);
    logicalBytes = addApparentBytes(logicalBytes, other.logicalBytes);
    deduplicatedBytes = addBytes(deduplicatedBytes, other.deduplicatedBytes);
    hardLinkedBytes = addBytes(hardLinkedBytes, other.hardLinkedBytes);
    fileCount += other.fileCount;
    directoryCount += other.directoryCount;
    if (other.newestModified) foldModified(*other.newestModified);
    if (other.oldestModified) foldModified(*other.oldestModified);
    append(unreadablePaths, other.unreadablePaths);
    append(otherVolumePaths, other.otherVolumePaths);
    append(places, other.places);
    return *this;
}

bool DirectoryMeasurement::isSparse() const {
    if (logicalBytes <= allocatedBytes) return false;
    const std::uint64_t difference = logicalBytes - allocatedBytes;
    return difference > allocatedBytes && difference >= kLeastSparseDifference;
}

std::string DirectoryMeasurement::provenance() const {
    if (source == Source::reported) {
        return CoreStrings::localized("reported by the tool; Brindle did not measure it");
    }
    if (isComplete()) return CoreStrings::localized("measured on disk");
    return CoreStrings::localized("measured on disk, with locations skipped — treat it as a floor");
}

}  // namespace brindle
