#include "core/model/duplicate_report.h"

#include <algorithm>
#include <array>
#include <set>

#include "core/model/byte_sum.h"
#include "core/platform/path_text.h"
#include "core/text/ascii.h"
#include "core/text/core_strings.h"

namespace brindle {

namespace {

constexpr std::array<std::string_view, 4> kExports = {"ipa", "apk", "aab", "whl"};

constexpr std::array<std::string_view, RawTexts<SkippedLocation::Reason>::kTexts.size()> kLabels = {
    "kept by a tool, or private", "a project", "on another volume", "the Trash", "could not read"};

// What comes free when some of the files go.
template <typename Test>
std::uint64_t bytesOf(const std::vector<DuplicateFile>& files, const Test& isGone) {
    std::set<std::uint32_t> counted;  // clones that stay, then those that went
    for (const DuplicateFile& file : files) {
        if (!isGone(file)) counted.insert(file.storage);
    }
    std::uint64_t freed = 0;
    for (const DuplicateFile& file : files) {
        if (isGone(file) && (file.storage == 0 || counted.insert(file.storage).second))
            freed = addApparentBytes(freed, file.storedBytes());
    }
    return freed;
}

}  // namespace

bool isDeveloperExport(std::string_view path) {
    return std::ranges::find(kExports, lowerCase(extensionOf(path))) != kExports.end();
}

std::uint64_t DuplicateGroup::wastedBytes() const {
    const auto largest = std::ranges::max_element(files, {}, &DuplicateFile::storedBytes);
    return bytesOf(files, [&](const DuplicateFile& file) { return &file != &*largest; });
}

std::uint64_t DuplicateGroup::bytesFreedWithout(const std::set<std::string>& paths) const {
    return bytesOf(files, [&](const DuplicateFile& file) { return paths.contains(file.path); });
}

bool DuplicateGroup::sharesStorage() const {
    return std::ranges::all_of(files, [&](const DuplicateFile& file) {
        return file.storage != 0 && file.storage == files.front().storage;
    });
}

std::string label(SkippedLocation::Reason reason) {
    return localized(kLabels.at(static_cast<std::size_t>(reason)));
}

std::uint64_t DuplicateReport::wastedBytes() const {
    std::uint64_t wasted = 0;
    for (const DuplicateGroup& group : groups) wasted = addApparentBytes(wasted, group.wastedBytes());
    return wasted;
}

}  // namespace brindle
